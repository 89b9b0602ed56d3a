#include "QuorvelReportBody.h"

#include <json/writer.h>

#include "Business.h"
#include "QuorvelClock.h"
#include "UtilJx.h"

namespace quorvel {

namespace {

// Compact output; the nested texts are made by the same writer, because the
// collector reads them as JSON text inside strings.
std::string CompactText(const Json::Value& value) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, value);
}

Json::Value Bean(const std::string& aid, const std::string& version) {
    Json::Value bean(Json::objectValue);
    bean["uid"] = "";
    bean["version"] = version;
    bean["aid"] = aid;
    bean["env"] = "production";
    bean["platform"] = "Windows";
    bean["netType"] = "";
    bean["vp"] = "";
    bean["sr"] = "";
    bean["referer"] = "";
    bean["from"] = "";
    return bean;
}

Json::Value Fields(std::uint32_t level) {
    Json::Value fields(Json::objectValue);
    fields["type"] = "normal";
    fields["level"] = LevelText(level);
    fields["plugin"] = "custom";
    return fields;
}

// The event's members come last, so one named like a generated member replaces it.
Json::Value Message(const Json::Value& event, std::int64_t nowMs) {
    Json::Value message(Json::objectValue);
    message["timestamp"] = Json::Int64(nowMs);
    message["client_timestamp"] = Json::Int64(nowMs);
    for (const std::string& name : event.getMemberNames()) message[name] = event[name];
    return message;
}

}  // namespace

Json::Value ToEventObject(const ErrorEventInfo& record) {
    Json::Value event(Json::objectValue);
    event["event_name"] = record.event_name;
    event["sub_event_name"] = record.sub_event_name;
    event["error_code"] = record.error_code;
    event["function_name"] = record.function_name;
    event["error_message"] = record.error_message;
    event["old_version"] = record.old_version;
    event["new_version"] = record.new_version;
    return event;
}

Json::Value ToEventObject(const ToggleEventInfo& record) {
    Json::Value event(Json::objectValue);
    event["event_name"] = record.event_name;
    event["sub_event_name"] = record.sub_event_name;
    event["source"] = record.source;
    event["install_toggle"] = record.install_toggle;
    return event;
}

const char* LevelText(std::uint32_t level) { return level == kLevelError ? "error" : "info"; }

std::string BuildReportBody(std::uint32_t level, const Json::Value& event, const std::string& aid,
                            const std::string& version, const std::string& topic) {
    const std::int64_t nowMs = UnixMillisecondsNow();

    Json::Value element(Json::objectValue);
    element["fields"] = CompactText(Fields(level));
    element["message"] = Json::Value(Json::arrayValue);
    element["message"].append(CompactText(Message(event, nowMs)));
    element["timestamp"] = Json::Int64(nowMs);

    Json::Value body(Json::objectValue);
    body["topic"] = topic;
    body["bean"] = Bean(aid, version);
    body["ext"] = "{}";
    body["scheme"] = "v2";
    body["d2"] = Json::Value(Json::arrayValue);
    body["d2"].append(element);
    return CompactText(body);
}

std::string ReportDeviceId() { return UtilJx::Base::Utf16ToUtf8(business::GetDeviceGuidStr()); }

}  // namespace quorvel
