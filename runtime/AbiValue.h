#pragma once
// How a value of a Windows Runtime type crosses the ABI, and what owns it on
// this side: `abi` is the parameter type, `owned` the type that holds a
// received value, `take` adopts an out-parameter, `copy` hands out a new
// reference or copy for an out-parameter.
#include <windows.h>
#include <hstring.h>
#include <unknwn.h>

#include <type_traits>

#include "ComPtr.h"
#include "HString.h"

namespace rt {

template <class T>
struct abi_value {
    using abi = T;
    using owned = T;
    static owned take(abi value) { return value; }
    static abi copy(const owned& value) { return value; }
};

template <>
struct abi_value<bool> {
    using abi = boolean;
    using owned = bool;
    static owned take(abi value) { return value != 0; }
    static abi copy(const owned& value) { return value ? 1 : 0; }
};

template <>
struct abi_value<HSTRING> {
    using abi = HSTRING;
    using owned = hstring;
    static owned take(abi value) { return hstring::attach(value); }
    static abi copy(const owned& value) { return hstring(value).detach(); }
};

template <class T>
    requires std::is_base_of_v<IUnknown, T>
struct abi_value<T> {
    using abi = T*;
    using owned = com_ptr<T>;
    static owned take(abi value) { return owned::attach(value); }
    static abi copy(const owned& value) { return owned(value).detach(); }
};

// A runtime class crosses as its default interface.
template <class T>
    requires requires { typename T::default_interface; }
struct abi_value<T> : abi_value<typename T::default_interface> {};

template <class T>
using abi_t = typename abi_value<T>::abi;

template <class T>
using owned_t = typename abi_value<T>::owned;

}  // namespace rt
