#pragma once
// Text as HTTP bodies carry it: the bytes a string content sends in each
// encoding, the charset it announces, and the text of received bytes.
#include <string>
#include <string_view>

#include "Storage.h"

namespace sim {

std::string utf8_of(std::wstring_view text);

// Throws E_INVALIDARG for a value UnicodeEncoding does not have.
std::string encoded_text(std::wstring_view text, rt::UnicodeEncoding encoding);

// "UTF-8", "UTF-16LE" or "UTF-16BE".
std::string charset_name(rt::UnicodeEncoding encoding);

// A byte order mark decides first, then the charset of `contentType`; UTF-8 otherwise.
std::wstring decoded_text(std::string_view bytes, std::string_view contentType);

}  // namespace sim
