#pragma once
// Delegates handed to the platform (completion and event handlers): free-threaded
// COM objects whose callable owns everything it touches, because the platform
// may call or release them on any thread and at any later time.
#include <windows.h>
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

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        if (iid == iid_of<Delegate> || iid == iid_of<IUnknown> || iid == iid_of<IAgileObject>) {
            *object = static_cast<Delegate*>(this);
            AddRef();
            return S_OK;
        }
        *object = nullptr;
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
    ~implementation() = default;

    std::atomic<ULONG> references_{1};
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
