#pragma once
// What the collector makes of a report body.
#include <json/value.h>

#include <string>

struct InspectedReport {
    std::string problem;  // empty when the body is a well-formed report
    Json::Value message;  // the event's message object, null when there is a problem
};

InspectedReport InspectReportBody(const std::string& body);

// The compact form reports are written in: no whitespace, members by key.
std::string CompactJson(const Json::Value& value);
