#pragma once
// A handler the caller hands in (completion, event, timer), called as the
// platform's proxy would call it. "Single-Threaded Apartments": calls to an
// object of another thread's apartment are made in the owning thread's
// context, and each such apartment needs a message loop to handle calls from
// other apartments. So a handler registered from one, and not free-threaded in
// fact, runs on that thread when it dispatches messages, and never once the
// thread left COM.
// Other handlers run directly on the thread that raises them. (A proxy would
// also hold the raising thread until the delivery; the simulation does not,
// so that a caller that never pumps does not hang the platform's threads.)
#include <windows.h>

#include <utility>

#include "Apartments.h"
#include "ComPtr.h"

namespace sim {

template <class Handler>
class routed_handler {
public:
    routed_handler() = default;
    // On the registering thread.
    explicit routed_handler(Handler* handler) : handler_(rt::com_ptr<Handler>::copy_from(handler)) {
        if (!handler) return;
        apartment_ref here = calling_apartment();
        if (here && is_single_threaded(*here) && !marshals_free_threaded(handler)) home_ = std::move(here);
    }

    explicit operator bool() const { return static_cast<bool>(handler_); }
    Handler* get() const { return handler_.get(); }

    // `invoke(Handler*)` calls the handler with arguments it owns, as it may
    // run later on another thread; the handler's result when it ran here.
    template <class Invoke>
    HRESULT call(Invoke invoke) const {
        if (!handler_) return S_OK;
        if (!home_ || calling_apartment() == home_) return invoke(handler_.get());
        post_to_apartment(home_, [handler = handler_, invoke = std::move(invoke)] { invoke(handler.get()); });
        return S_OK;
    }

private:
    rt::com_ptr<Handler> handler_;
    apartment_ref home_;  // set when calls go through the apartment's message queue
};

}  // namespace sim
