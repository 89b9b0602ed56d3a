#pragma once
// The XML that toasts are written in: elements, attributes in double or single
// quotes, text and the five predefined entities, after an optional XML
// declaration. Anything else is refused with the parse error Windows' loader
// gives for it.
#include <windows.h>

#include <string_view>

#include "SimXmlTree.h"

namespace sim::xml {

inline constexpr HRESULT undefined_entity = static_cast<HRESULT>(0xC00CE002);
inline constexpr HRESULT missing_equals = static_cast<HRESULT>(0xC00CE501);
inline constexpr HRESULT missing_quote = static_cast<HRESULT>(0xC00CE502);
inline constexpr HRESULT bad_start_name_char = static_cast<HRESULT>(0xC00CE504);
inline constexpr HRESULT bad_char_in_string = static_cast<HRESULT>(0xC00CE506);
inline constexpr HRESULT duplicate_attribute = static_cast<HRESULT>(0xC00CE554);
inline constexpr HRESULT multiple_roots = static_cast<HRESULT>(0xC00CE555);
inline constexpr HRESULT invalid_at_root_level = static_cast<HRESULT>(0xC00CE556);
inline constexpr HRESULT missing_root = static_cast<HRESULT>(0xC00CE558);
inline constexpr HRESULT unexpected_end_of_file = static_cast<HRESULT>(0xC00CE559);
inline constexpr HRESULT end_tag_mismatch = static_cast<HRESULT>(0xC00CE56D);

// Reads `xml` into a new root element of `document`, not yet attached to it,
// so that a failed load leaves the document as it was. Text that is only
// white space is dropped, as Windows does by default.
HRESULT parse(std::wstring_view xml, const node_ptr& document, node_ptr& root);

}  // namespace sim::xml
