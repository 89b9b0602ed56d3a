#pragma once
// Delegates handed to the platform (completion and event handlers): free-threaded
// COM objects whose callable owns everything it touches, because the platform
// may call or release them on any thread and at any later time.
#include <windows.h>
#include <objbase.h>
#include <unknwn.h>

#include <atomic>
#include <functional>
#include <type_traits>
#include <utility>

#include "ComPtr.h"
#include "Guid.h"
#include "PinnedModule.h"
#include "RuntimeError.h"

namespace rt {

namespace delegate_detail {

template <class Delegate, class F, class Invoke = decltype(&Delegate::Invoke)>
class implementation;

template <class Delegate, class F, class Owner, class... Args>
class implementation<Delegate, F, HRESULT (Owner::*)(Args...)> final : public Delegate {
public:
    explicit implementation(F callable) : callable_(std::move(callable)) {}
    implementation(const implementation&) = delete;
    implementation& operator=(const implementation&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        if (iid == iid_of<Delegate> || iid == iid_of<IUnknown> || iid == iid_of<IAgileObject>) {
            *object = static_cast<Delegate*>(this);
            AddRef();
            return S_OK;
        }
        *object = nullptr;
        if (iid == iid_of<IMarshal>) {
            IUnknown* const marshaler = free_threaded_marshaler();
            return marshaler ? marshaler->QueryInterface(iid, object) : E_NOINTERFACE;
        }
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE Invoke(Args... args) override {
        return hresult_from([&] { return std::invoke(callable_, args...); });
    }

private:
    ~implementation() {
        if (IUnknown* const marshaler = marshaler_.load()) marshaler->Release();
    }

    // IAgileObject alone changes nothing when the delegate is marshaled ("IAgileObject
    // interface"): registered through a proxy from a single-threaded apartment, it
    // would be called back only through that apartment's message loop, and never
    // once the thread has left COM. The aggregated free-threaded marshaler hands
    // every apartment of the process the object itself ("CoCreateFreeThreadedMarshaler
    // function"), which is safe because the callable owns what it touches. Made on
    // the first request, as most delegates are never marshaled.
    IUnknown* free_threaded_marshaler() noexcept {
        IUnknown* current = marshaler_.load();
        if (current) return current;
        IUnknown* made = nullptr;
        if (FAILED(CoCreateFreeThreadedMarshaler(static_cast<Delegate*>(this), &made)) || !made) return nullptr;
        if (!marshaler_.compare_exchange_strong(current, made)) {
            made->Release();
            return current;
        }
        return made;
    }

    std::atomic<ULONG> references_{1};
    std::atomic<IUnknown*> marshaler_{nullptr};
    F callable_;
};

}  // namespace delegate_detail

// `callable` takes the delegate's Invoke arguments and returns void or HRESULT.
// Every delegate is made here before it is handed to the platform, so this is
// where the module pins itself (see PinnedModule.h); a module that cannot be
// pinned still works as long as its client keeps it loaded.
template <class Delegate, class F>
com_ptr<Delegate> make_delegate(F&& callable) {
    pin_module();
    using implementation = delegate_detail::implementation<Delegate, std::decay_t<F>>;
    return com_ptr<Delegate>::attach(new implementation(std::forward<F>(callable)));
}

}  // namespace rt
