#pragma once
// Owners of Win32 handles, registry keys and mapped views: released on every
// path. Plain Win32, below every other layer.
#include <windows.h>

#include <utility>

class UniqueHandle {
public:
    UniqueHandle() = default;
    explicit UniqueHandle(HANDLE handle) : handle_(handle) {}
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    UniqueHandle(UniqueHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        if (this != &other) reset(std::exchange(other.handle_, nullptr));
        return *this;
    }
    ~UniqueHandle() { reset(); }

    // Both null and INVALID_HANDLE_VALUE mean "no object".
    bool valid() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle_; }
    void reset(HANDLE handle = nullptr) {
        if (valid()) CloseHandle(handle_);
        handle_ = handle;
    }

private:
    HANDLE handle_ = nullptr;
};

class MappedView {
public:
    MappedView() = default;
    explicit MappedView(const void* view) : view_(view) {}
    MappedView(const MappedView&) = delete;
    MappedView& operator=(const MappedView&) = delete;
    ~MappedView() { reset(); }

    const void* get() const { return view_; }
    void reset(const void* view = nullptr) {
        if (view_ != nullptr) UnmapViewOfFile(view_);
        view_ = view;
    }

private:
    const void* view_ = nullptr;
};

class UniqueRegistryKey {
public:
    UniqueRegistryKey() = default;
    UniqueRegistryKey(const UniqueRegistryKey&) = delete;
    UniqueRegistryKey& operator=(const UniqueRegistryKey&) = delete;
    ~UniqueRegistryKey() {
        if (key_) RegCloseKey(key_);
    }
    HKEY get() const { return key_; }
    HKEY* put() { return &key_; }

private:
    HKEY key_ = nullptr;
};
