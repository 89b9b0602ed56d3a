#pragma once
// Reading a queued or claimed report and laying its body out for a person.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace viewer {

// The whole file, opened so that an uploader may still rename or delete it
// meanwhile; absent when it cannot be read or is far larger than any report.
std::optional<std::vector<std::uint8_t>> ReadReportFile(const std::wstring& path);

// The body indented, with the JSON texts that "fields" and "message" carry
// as strings decoded in place; absent when the body is not JSON.
std::optional<std::string> FormatReportBody(const std::string& body);

}  // namespace viewer
