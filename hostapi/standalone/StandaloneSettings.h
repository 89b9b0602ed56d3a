#pragma once
// How tests and the demo steer the stand-alone host libraries: environment
// variables of the process, so the module itself carries no test hooks.
#include <optional>
#include <string>

namespace standalone {

// Log file of the stand-alone logger (default: <app data>\log\orvale-host.log).
inline constexpr wchar_t kLogFileVariable[] = L"ORVALE_STANDALONE_LOG";
// Overrides the host's application-data folder.
inline constexpr wchar_t kAppDataVariable[] = L"ORVALE_STANDALONE_APPDATA";
// When present (even empty), the push decoder returns this text verbatim.
inline constexpr wchar_t kPushResultVariable[] = L"ORVALE_STANDALONE_PUSH_RESULT";
// Device identifier; when absent a fixed one is used, when empty there is none.
inline constexpr wchar_t kDeviceGuidVariable[] = L"ORVALE_STANDALONE_DEVICE_GUID";
// "1" puts the host's configuration reader into its optimised mode.
inline constexpr wchar_t kConfigReaderOptVariable[] = L"ORVALE_STANDALONE_KIVCACHE_OPT";
// "null": the experiment module's getter hands out no service.
inline constexpr wchar_t kJxServiceVariable[] = L"ORVALE_STANDALONE_JX_SERVICE";
// A configuration file (the format of config2.json) that the business library
// answers from instead of the host's own, so a caller can tell which it read.
inline constexpr wchar_t kBusinessConfigVariable[] = L"ORVALE_STANDALONE_BUSINESS_CONFIG";

// Value of an environment variable; nullopt when it is not set at all.
std::optional<std::wstring> ReadVariable(const wchar_t* name);

}  // namespace standalone
