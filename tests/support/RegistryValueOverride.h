#pragma once
// A registry value of the shared prefix replaced for the life of the object
// (a string value, which is what the tests steer). A value that cannot be
// written throws, so that a test never runs against the prefix's own value;
// the old value, or its absence, comes back whatever the test does.
#include <windows.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "UniqueHandle.h"

class RegistryValueOverride {
public:
    RegistryValueOverride(HKEY key, const wchar_t* name, const std::wstring& value) : key_(key), name_(name) {
        wchar_t saved[256] = {};
        DWORD bytes = sizeof(saved);
        DWORD type = 0;
        existed_ = RegQueryValueExW(key_, name_, nullptr, &type, reinterpret_cast<BYTE*>(saved), &bytes) ==
                   ERROR_SUCCESS;
        saved_.assign(saved, bytes / sizeof(wchar_t));
        savedType_ = type;
        const LONG written = Write(REG_SZ, std::wstring(value) + L'\0');
        if (written != ERROR_SUCCESS) {
            throw std::runtime_error("cannot write registry value, error " + std::to_string(written));
        }
    }
    RegistryValueOverride(const RegistryValueOverride&) = delete;
    RegistryValueOverride& operator=(const RegistryValueOverride&) = delete;
    ~RegistryValueOverride() {
        const LONG restored = existed_ ? Write(savedType_, saved_) : RegDeleteValueW(key_, name_);
        EXPECT_EQ(restored, ERROR_SUCCESS) << "the prefix keeps a replaced registry value";
    }

private:
    LONG Write(DWORD type, const std::wstring& data) {
        return RegSetValueExW(key_, name_, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                              static_cast<DWORD>(data.size() * sizeof(wchar_t)));
    }

    HKEY key_;
    const wchar_t* name_;
    bool existed_ = false;
    DWORD savedType_ = REG_SZ;
    std::wstring saved_;  // with its terminator, as stored
};

// Wine reports the version stored under CurrentVersion when the prefix does
// not pin one.
class EmulatedWindowsVersion {
public:
    EmulatedWindowsVersion(const wchar_t* version, const wchar_t* build)
        : version_(key_.get(), L"CurrentVersion", version), build_(key_.get(), L"CurrentBuildNumber", build) {}

private:
    struct OpenedKey {
        OpenedKey() {
            const LONG opened =
                RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion", 0, nullptr, 0,
                                KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr, key.put(), nullptr);
            if (opened != ERROR_SUCCESS) {
                throw std::runtime_error("cannot open the Windows version key, error " + std::to_string(opened));
            }
        }
        HKEY get() const { return key.get(); }
        UniqueRegistryKey key;
    };

    OpenedKey key_;
    RegistryValueOverride version_;
    RegistryValueOverride build_;
};
