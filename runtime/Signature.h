#pragma once
// Type signatures of Windows Runtime types, composed at compile time: the
// platform derives the IID of a parameterized interface instance from the
// signature of the instance. One trait per type: fundamental types below, enums
// and structs where they are declared, interfaces and runtime classes through
// their own members.
#include <windows.h>
#include <hstring.h>
#include <inspectable.h>

#include <cstdint>
#include <type_traits>

#include "FixedString.h"
#include "Guid.h"

namespace rt {

template <class T>
struct signature;

template <class T>
inline constexpr auto signature_of = signature<T>::value;

template <fixed_string Text>
struct signature_text {
    static constexpr auto value = Text;
};

// Boolean is written `bool` in type arguments; its ABI form is the 1-byte `boolean`.
template <> struct signature<bool> : signature_text<"b1"> {};
template <> struct signature<std::uint8_t> : signature_text<"u1"> {};
template <> struct signature<std::int16_t> : signature_text<"i2"> {};
template <> struct signature<std::uint16_t> : signature_text<"u2"> {};
template <> struct signature<std::int32_t> : signature_text<"i4"> {};
template <> struct signature<std::uint32_t> : signature_text<"u4"> {};
template <> struct signature<std::int64_t> : signature_text<"i8"> {};
template <> struct signature<std::uint64_t> : signature_text<"u8"> {};
template <> struct signature<float> : signature_text<"f4"> {};
template <> struct signature<double> : signature_text<"f8"> {};
template <> struct signature<wchar_t> : signature_text<"c2"> {};
template <> struct signature<GUID> : signature_text<"g16"> {};
template <> struct signature<HSTRING> : signature_text<"string"> {};
template <> struct signature<IInspectable> : signature_text<"cinterface(IInspectable)"> {};

// Parameterized instances, delegates and runtime classes spell their own.
template <class T>
    requires requires { T::signature; }
struct signature<T> {
    static constexpr auto value = T::signature;
};

// Any other interface is its braced IID.
template <class T>
    requires(std::is_base_of_v<IUnknown, T> && !requires { T::signature; })
struct signature<T> {
    static constexpr auto value = "{" + guid_text(iid_of<T>) + "}";
};

template <fixed_string Name, class Enum>
struct enum_signature {
    static constexpr auto value = "enum(" + Name + ";" + signature_of<std::underlying_type_t<Enum>> + ")";
};

template <fixed_string Name, class... Fields>
struct struct_signature {
    static constexpr auto value = (("struct(" + Name) + ... + (";" + signature_of<Fields>)) + ")";
};

// A runtime class used as a type argument. It crosses the ABI as a pointer to
// its default interface.
template <fixed_string Name, class DefaultInterface>
struct runtime_class {
    using default_interface = DefaultInterface;
    static constexpr auto signature = "rc(" + Name + ";" + signature_of<DefaultInterface> + ")";
};

template <class... Args>
constexpr auto pinterface_signature(const GUID& generic) {
    return (("pinterface({" + guid_text(generic) + "}") + ... + (";" + signature_of<Args>)) + ")";
}

constexpr auto delegate_signature(const GUID& iid) { return "delegate({" + guid_text(iid) + "})"; }

}  // namespace rt
