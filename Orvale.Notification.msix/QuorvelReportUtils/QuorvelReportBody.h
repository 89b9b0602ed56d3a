#pragma once
// The two telemetry records and the JSON body one report carries.
#include <json/value.h>

#include <cstdint>
#include <string>

namespace quorvel {

// Fixed values of every report.
inline constexpr char kSdkIdentifier[] = "SDK-7d2e81f0a93b5c46e128";
inline constexpr char kReporterVersion[] = "26.9.16.0";

// Event levels: 0 information, 1 error; any other value reads as information.
inline constexpr std::uint32_t kLevelInfo = 0;
inline constexpr std::uint32_t kLevelError = 1;

struct ErrorEventInfo {
    std::string event_name;
    std::string sub_event_name;
    std::int32_t error_code = 0;
    std::string function_name;
    std::string error_message;
    std::string old_version;
    std::string new_version;
};

struct ToggleEventInfo {
    std::string event_name;
    std::string sub_event_name;
    std::string source;
    std::int32_t install_toggle = 0;
};

// The event object: every field of the record, empty and zero ones included.
Json::Value ToEventObject(const ErrorEventInfo& record);
Json::Value ToEventObject(const ToggleEventInfo& record);

// "info" or "error".
const char* LevelText(std::uint32_t level);

// The compact body of one report. Reads the clock once; every timestamp of
// the body carries that one value. JSON library errors propagate.
std::string BuildReportBody(std::uint32_t level, const Json::Value& event, const std::string& aid,
                            const std::string& version, const std::string& topic);

// The device identifier as reports carry it (UTF-8; empty when the host has none).
std::string ReportDeviceId();

}  // namespace quorvel
