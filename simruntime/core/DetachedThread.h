#pragma once
// Work on a thread of its own that nobody joins, as the platform's threads
// are. Not std::thread(...).detach(): under Wine, with the MinGW thread
// library linked in, a thread detached while it starts now and then does not
// run for many seconds (about one process in a hundred loses one of its first
// few threads); threads made by CreateThread do not show that.
#include <windows.h>

#include <functional>
#include <memory>
#include <utility>

#include "RuntimeError.h"

namespace sim {

namespace detached_detail {

inline DWORD WINAPI run(void* parameter) {
    const std::unique_ptr<std::function<void()>> work(static_cast<std::function<void()>*>(parameter));
    (*work)();
    return 0;
}

}  // namespace detached_detail

// `work` must not throw.
inline void run_detached(std::function<void()> work) {
    auto owned = std::make_unique<std::function<void()>>(std::move(work));
    const HANDLE thread = CreateThread(nullptr, 0, &detached_detail::run, owned.get(), 0, nullptr);
    if (!thread) throw rt::hresult_error(HRESULT_FROM_WIN32(GetLastError()));
    owned.release();  // the thread owns it now
    CloseHandle(thread);
}

}  // namespace sim
