#include "ReportFile.h"

#include <windows.h>
#include <json/reader.h>
#include <json/writer.h>

#include <memory>

#include "UniqueHandle.h"

namespace viewer {

namespace {

// Reports are a few hundred bytes; a file beyond this is not one of them.
constexpr std::uint64_t kLargestReportBytes = 16 * 1024 * 1024;

std::optional<Json::Value> ParseJson(const std::string& text) {
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) return std::nullopt;
    return value;
}

// Replaces a string holding JSON text by the value it holds; other values stay.
void DecodeEmbedded(Json::Value& value) {
    if (!value.isString()) return;
    if (auto decoded = ParseJson(value.asString())) value = std::move(*decoded);
}

}  // namespace

std::optional<std::vector<std::uint8_t>> ReadReportFile(const std::wstring& path) {
    const UniqueHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                       nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) return std::nullopt;
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(file.get(), &size) || static_cast<std::uint64_t>(size.QuadPart) > kLargestReportBytes) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!bytes.empty() && !ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        return std::nullopt;
    }
    bytes.resize(read);
    return bytes;
}

std::optional<std::string> FormatReportBody(const std::string& body) {
    auto root = ParseJson(body);
    if (!root) return std::nullopt;
    // isMember before every operator[]: that operator adds a missing member.
    if (root->isObject() && root->isMember("d2") && (*root)["d2"].isArray()) {
        for (Json::Value& element : (*root)["d2"]) {
            if (!element.isObject()) continue;
            if (element.isMember("fields")) DecodeEmbedded(element["fields"]);
            if (element.isMember("message") && element["message"].isArray()) {
                for (Json::Value& message : element["message"]) DecodeEmbedded(message);
            }
        }
    }
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "  ";
    writer["emitUTF8"] = true;
    return Json::writeString(writer, *root);
}

}  // namespace viewer
