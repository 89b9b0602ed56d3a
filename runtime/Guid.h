#pragma once
// Interface identifiers written as the registry form of the metadata, checked
// and converted at compile time, and the identifiers of the COM interfaces that
// the system headers declare without a usable constant.
#include <windows.h>
#include <unknwn.h>
#include <objidl.h>
#include <inspectable.h>
#include <activation.h>

#include <cstdint>

#include "FixedString.h"

namespace rt {

namespace guid_detail {

consteval std::uint32_t hex_digit(char c) {
    if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<std::uint32_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<std::uint32_t>(c - 'A' + 10);
    throw "not a hexadecimal digit";  // fails the compilation
}

consteval std::uint32_t hex_number(const char* text, int digits) {
    std::uint32_t value = 0;
    for (int i = 0; i < digits; ++i) value = (value << 4) | hex_digit(text[i]);
    return value;
}

constexpr char lower_hex(std::uint32_t nibble) {
    return static_cast<char>(nibble < 10 ? '0' + nibble : 'a' + nibble - 10);
}

}  // namespace guid_detail

// "9fc2b0bb-e446-44e2-aa61-9cab8f636af2" as a GUID.
consteval GUID guid(const char (&text)[37]) {
    if (text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-') throw "misplaced dash";
    GUID id{};
    id.Data1 = guid_detail::hex_number(text, 8);
    id.Data2 = static_cast<unsigned short>(guid_detail::hex_number(text + 9, 4));
    id.Data3 = static_cast<unsigned short>(guid_detail::hex_number(text + 14, 4));
    id.Data4[0] = static_cast<unsigned char>(guid_detail::hex_number(text + 19, 2));
    id.Data4[1] = static_cast<unsigned char>(guid_detail::hex_number(text + 21, 2));
    // The offsets stay below 40: no widening can matter.
    // NOLINTNEXTLINE(bugprone-implicit-widening-of-multiplication-result)
    for (int i = 0; i < 6; ++i) id.Data4[2 + i] = static_cast<unsigned char>(guid_detail::hex_number(text + 24 + 2 * i, 2));
    return id;
}

// Lower-case registry form without braces, as type signatures spell it.
constexpr fixed_string<36> guid_text(const GUID& id) {
    fixed_string<36> text;
    std::size_t at = 0;
    auto put = [&](std::uint32_t value, int digits) {
        for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) text.chars[at++] = guid_detail::lower_hex((value >> shift) & 0xF);
    };
    put(id.Data1, 8);
    text.chars[at++] = '-';
    put(id.Data2, 4);
    text.chars[at++] = '-';
    put(id.Data3, 4);
    text.chars[at++] = '-';
    put(id.Data4[0], 2);
    put(id.Data4[1], 2);
    text.chars[at++] = '-';
    for (int i = 2; i < 8; ++i) put(id.Data4[i], 2);
    return text;
}

constexpr bool same_guid(const GUID& a, const GUID& b) {
    if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
    for (int i = 0; i < 8; ++i) {
        if (a.Data4[i] != b.Data4[i]) return false;
    }
    return true;
}

// The IID of an interface: its `iid` member, or the constant below for the COM
// interfaces declared by the system headers.
template <class I>
inline constexpr GUID iid_of = I::iid;

template <>
inline constexpr GUID iid_of<IUnknown> = guid("00000000-0000-0000-c000-000000000046");
template <>
inline constexpr GUID iid_of<IInspectable> = guid("af86e2e0-b12d-4c6a-9c5a-d7aa65101e90");
template <>
inline constexpr GUID iid_of<IActivationFactory> = guid("00000035-0000-0000-c000-000000000046");
template <>
inline constexpr GUID iid_of<IAgileObject> = guid("94ea2b94-e9cc-49e0-c0ff-ee64ca8f5b90");
template <>
inline constexpr GUID iid_of<IMarshal> = guid("00000003-0000-0000-c000-000000000046");
template <>
inline constexpr GUID iid_of<IAgileReference> = guid("c03f6a43-65a4-9818-987e-e0b810d2a6f2");

}  // namespace rt
