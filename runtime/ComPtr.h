#pragma once
// Owner of one reference to a COM or Windows Runtime interface.
#include <windows.h>
#include <unknwn.h>

#include <cstddef>
#include <type_traits>
#include <utility>

#include "Guid.h"
#include "RuntimeError.h"

namespace rt {

// Its assignment takes its argument by value: the copy and the move assignment in one.
template <class T>
class com_ptr {  // NOLINT(cppcoreguidelines-special-member-functions)
public:
    com_ptr() noexcept = default;
    com_ptr(std::nullptr_t) noexcept {}
    com_ptr(const com_ptr& other) noexcept : pointer_(other.pointer_) { add_ref(); }
    com_ptr(com_ptr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    template <class U>
        requires std::is_convertible_v<U*, T*>
    com_ptr(const com_ptr<U>& other) noexcept : pointer_(other.get()) {
        add_ref();
    }
    template <class U>
        requires std::is_convertible_v<U*, T*>
    com_ptr(com_ptr<U>&& other) noexcept : pointer_(other.detach()) {}
    ~com_ptr() { release(); }

    com_ptr& operator=(com_ptr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }

    // Adopts a reference the caller owns.
    static com_ptr attach(T* pointer) noexcept {
        com_ptr owner;
        owner.pointer_ = pointer;
        return owner;
    }
    // Takes a new reference of its own.
    static com_ptr copy_from(T* pointer) noexcept {
        com_ptr owner = attach(pointer);
        owner.add_ref();
        return owner;
    }

    T* get() const noexcept { return pointer_; }
    T* operator->() const noexcept { return pointer_; }
    explicit operator bool() const noexcept { return pointer_ != nullptr; }

    // For out-parameters: drops what it holds first.
    T** put() noexcept {
        release();
        return &pointer_;
    }
    void** put_void() noexcept { return reinterpret_cast<void**>(put()); }
    T* detach() noexcept { return std::exchange(pointer_, nullptr); }
    void reset() noexcept { release(); }

    // QueryInterface; throws hresult_error when the object does not implement Q.
    template <class Q>
    com_ptr<Q> As() const {
        if (!pointer_) throw hresult_error(E_POINTER);
        com_ptr<Q> result;
        check(pointer_->QueryInterface(iid_of<Q>, result.put_void()));
        return result;
    }

    // QueryInterface; empty when the object does not implement Q.
    template <class Q>
    com_ptr<Q> TryAs() const noexcept {
        com_ptr<Q> result;
        if (pointer_) pointer_->QueryInterface(iid_of<Q>, result.put_void());
        return result;
    }

private:
    void add_ref() noexcept {
        if (pointer_) pointer_->AddRef();
    }
    void release() noexcept {
        if (T* held = std::exchange(pointer_, nullptr)) held->Release();
    }

    T* pointer_ = nullptr;
};

}  // namespace rt
