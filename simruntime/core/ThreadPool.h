#pragma once
// Work on the process's thread pool, as the platform completes its
// operations on its own pool. A thread made per piece of work costs a
// server round trip to start and another to end under Wine, more than the
// simulated work itself; the pool's threads are made once and reused, and
// it adds a thread when every one is busy, so a handler that blocks never
// holds up another operation. Not std::thread(...).detach(): with the MinGW
// thread library a thread detached while it starts now and then does not
// run for many seconds.
#include <windows.h>

#include <functional>
#include <memory>
#include <utility>

#include "RuntimeError.h"
#include "UniqueHandle.h"

namespace sim {

namespace pool_detail {

inline void CALLBACK run(PTP_CALLBACK_INSTANCE, void* parameter) {
    const std::unique_ptr<std::function<void()>> work(static_cast<std::function<void()>*>(parameter));
    (*work)();
}

}  // namespace pool_detail

// `work` must not throw. It runs on a pool thread, never inside the caller's own call.
inline void run_on_pool(std::function<void()> work) {
    auto owned = std::make_unique<std::function<void()>>(std::move(work));
    if (!TrySubmitThreadpoolCallback(&pool_detail::run, owned.get(), nullptr)) {
        throw rt::hresult_error(HRESULT_FROM_WIN32(GetLastError()));
    }
    owned.release();  // the callback owns it now
}

// `work` runs on a pool thread while the caller waits for it to finish: an
// event the platform raises on a thread of its own, which the steering call
// still has to see through.
inline void run_on_pool_and_wait(std::function<void()> work) {
    const UniqueHandle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!done.valid()) throw rt::hresult_error(HRESULT_FROM_WIN32(GetLastError()));
    run_on_pool([&work, &done] {
        work();
        SetEvent(done.get());
    });
    WaitForSingleObject(done.get(), INFINITE);
}

}  // namespace sim
