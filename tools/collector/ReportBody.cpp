#include "ReportBody.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <regex>
#include <stdexcept>

namespace {

// Thrown at the first problem found; its text is what the collector reports.
struct BodyProblem : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[noreturn]] void Fail(const std::string& text) { throw BodyProblem(text); }

std::string Excerpt(const std::string& text, size_t at) {
    return "\"" + text.substr(at, 24) + "\"";
}

// Parses strictly and insists on the compact form with members in key order.
// The library writes its objects in key order and the module writes with the
// same library and settings, so a well-formed report reads back byte for byte.
Json::Value ParseCompact(const std::string& text, const std::string& what) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
        Fail(what + " is not JSON: " + errors.substr(0, errors.find('\n')));
    }
    const std::string compact = CompactJson(value);
    if (compact != text) {
        const size_t at = std::ranges::mismatch(compact, text).in2 - text.begin();
        Fail(what + " is not compact JSON with members in key order: at byte " + std::to_string(at) + " it has " +
             Excerpt(text, at) + " where " + Excerpt(compact, at) + " belongs");
    }
    return value;
}

void ExpectObject(const Json::Value& value, const std::string& path, std::initializer_list<const char*> keys) {
    if (!value.isObject()) Fail(path + " is not an object");
    for (const char* key : keys) {
        if (!value.isMember(key)) Fail(path + " has no member \"" + key + "\"");
    }
    if (value.size() != keys.size()) {
        for (const auto& name : value.getMemberNames()) {
            if (std::ranges::find(keys, name) == keys.end()) Fail(path + " has an unexpected member \"" + name + "\"");
        }
    }
}

void ExpectString(const Json::Value& value, const std::string& path) {
    if (!value.isString()) Fail(path + " is not a string");
}

void ExpectText(const Json::Value& value, const std::string& path, const std::string& expected) {
    ExpectString(value, path);
    if (value.asString() != expected) Fail(path + " is \"" + value.asString() + "\", not \"" + expected + "\"");
}

void ExpectInteger(const Json::Value& value, const std::string& path) {
    // The library also calls a whole-numbered real integral; reports carry integers only.
    if (value.type() != Json::intValue && value.type() != Json::uintValue) Fail(path + " is not an integer");
}

void ExpectSingleElementArray(const Json::Value& value, const std::string& path) {
    if (!value.isArray() || value.size() != 1) Fail(path + " is not an array of exactly one element");
}

void CheckBean(const Json::Value& bean) {
    ExpectObject(bean, "bean", {"aid", "env", "from", "netType", "platform", "referer", "sr", "uid", "version", "vp"});
    ExpectString(bean["aid"], "bean.aid");
    ExpectString(bean["version"], "bean.version");
    ExpectText(bean["env"], "bean.env", "production");
    ExpectText(bean["platform"], "bean.platform", "Windows");
    for (const char* empty : {"from", "netType", "referer", "sr", "uid", "vp"}) {
        ExpectText(bean[empty], std::string("bean.") + empty, "");
    }
}

void CheckFields(const Json::Value& text) {
    ExpectString(text, "d2[0].fields");
    const Json::Value fields = ParseCompact(text.asString(), "d2[0].fields");
    ExpectObject(fields, "d2[0].fields", {"level", "plugin", "type"});
    const Json::Value& level = fields["level"];
    if (level != "info" && level != "error") Fail("d2[0].fields.level is neither \"info\" nor \"error\"");
    ExpectText(fields["plugin"], "d2[0].fields.plugin", "custom");
    ExpectText(fields["type"], "d2[0].fields.type", "normal");
}

Json::Value DecodeMessage(const Json::Value& messages) {
    ExpectSingleElementArray(messages, "d2[0].message");
    ExpectString(messages[0], "d2[0].message[0]");
    const Json::Value message = ParseCompact(messages[0].asString(), "d2[0].message[0]");
    if (!message.isObject()) Fail("d2[0].message[0] is not an object");
    ExpectInteger(message["timestamp"], "d2[0].message[0].timestamp");
    ExpectInteger(message["client_timestamp"], "d2[0].message[0].client_timestamp");
    return message;
}

Json::Value DecodeReport(const std::string& body) {
    if (body.empty()) Fail("the body is empty");
    const Json::Value report = ParseCompact(body, "the body");
    ExpectObject(report, "the body", {"bean", "d2", "ext", "scheme", "topic"});
    CheckBean(report["bean"]);
    ExpectText(report["ext"], "ext", "{}");
    ExpectText(report["scheme"], "scheme", "v2");
    ExpectString(report["topic"], "topic");
    static const std::regex kTopic("SDK-[0-9a-f]{20}");  // compiling it took longer than the rest of the check
    if (!std::regex_match(report["topic"].asString(), kTopic)) {
        Fail("topic \"" + report["topic"].asString() + "\" is not SDK- and 20 lowercase hexadecimal digits");
    }
    ExpectSingleElementArray(report["d2"], "d2");
    const Json::Value& entry = report["d2"][0];
    ExpectObject(entry, "d2[0]", {"fields", "message", "timestamp"});
    CheckFields(entry["fields"]);
    const Json::Value message = DecodeMessage(entry["message"]);
    ExpectInteger(entry["timestamp"], "d2[0].timestamp");
    if (entry["timestamp"] != message["client_timestamp"]) {
        Fail("d2[0].timestamp differs from the message's client_timestamp");
    }
    return message;
}

}  // namespace

std::string CompactJson(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

InspectedReport InspectReportBody(const std::string& body) {
    try {
        return {"", DecodeReport(body)};
    } catch (const BodyProblem& problem) {
        return {problem.what(), Json::Value()};
    }
}
