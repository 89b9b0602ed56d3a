// Windows.System.Threading.ThreadPoolTimer, which Wine does not provide:
// one-shot timers whose handler runs once, on a thread of the process's
// pool, after the delay, unless Cancel came first. A pool timer is made and
// cancelled without a server round trip, where a thread per timer cost two.
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

#include "ClassNames.h"
#include "ClassTable.h"
#include "HandlerRoute.h"
#include "RuntimeError.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "Threading.h"

namespace {

// Rounded up to milliseconds, so a timer never fires early; as a due time
// relative to now (negative, in 100-ns units).
FILETIME relative_due_time(const rt::TimeSpan& delay) {
    const std::int64_t milliseconds = delay.Duration <= 0 ? 0 : (delay.Duration + 9999) / 10000;
    ULARGE_INTEGER due;
    due.QuadPart = static_cast<ULONGLONG>(-std::min<std::int64_t>(milliseconds, INT64_MAX / 10000) * 10000);
    return {due.LowPart, due.HighPart};
}

class one_shot_timer final : public sim::object<one_shot_timer, rt::IThreadPoolTimer> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::ThreadPoolTimer;

    one_shot_timer(sim::routed_handler<rt::TimerElapsedHandler> handler, rt::TimeSpan delay)
        : handler_(std::move(handler)), delay_(delay), timer_(CreateThreadpoolTimer(&elapsed, this, nullptr)) {
        if (!timer_) throw rt::hresult_error(HRESULT_FROM_WIN32(GetLastError()));
    }

    // No callback outlives the object: a queued one is dropped, a running one
    // is waited for unless it is the one releasing the object.
    ~one_shot_timer() override {
        SetThreadpoolTimer(timer_, nullptr, 0, 0);
        WaitForThreadpoolTimerCallbacks(timer_, TRUE);
        CloseThreadpoolTimer(timer_);
    }

    // A pending timer keeps itself alive, as the platform's does when its
    // caller lets go of it.
    void start() {
        {
            std::lock_guard lock(mutex_);
            pending_ = rt::com_ptr<one_shot_timer>::copy_from(this);
        }
        FILETIME due = relative_due_time(delay_);
        SetThreadpoolTimer(timer_, &due, 0, 0);
    }

    HRESULT STDMETHODCALLTYPE get_Period(rt::TimeSpan* value) override {
        if (!value) return E_POINTER;
        return run_call(L"ThreadPoolTimer.get_Period", L"", [&] { *value = rt::TimeSpan{0}; });
    }
    HRESULT STDMETHODCALLTYPE get_Delay(rt::TimeSpan* value) override {
        if (!value) return E_POINTER;
        return run_call(L"ThreadPoolTimer.get_Delay", L"", [&] { *value = delay_; });
    }

    // Once this returns the handler is never started; one already running goes on.
    HRESULT STDMETHODCALLTYPE Cancel() override {
        return run_call(L"ThreadPoolTimer.Cancel", L"", [&] {
            sim::routed_handler<rt::TimerElapsedHandler> dropped;
            rt::com_ptr<one_shot_timer> pending;
            {
                std::lock_guard lock(mutex_);
                dropped = std::move(handler_);
                pending = std::move(pending_);
            }
            SetThreadpoolTimer(timer_, nullptr, 0, 0);
        });
    }

private:
    static void CALLBACK elapsed(PTP_CALLBACK_INSTANCE instance, void* context, PTP_TIMER) {
        auto* timer = static_cast<one_shot_timer*>(context);
        sim::routed_handler<rt::TimerElapsedHandler> handler;
        rt::com_ptr<one_shot_timer> self;
        {
            std::lock_guard lock(timer->mutex_);
            handler = std::move(timer->handler_);
            self = std::move(timer->pending_);
        }
        // From here on the object is reached through `self` only, and its
        // destructor, which may run at the end of this callback, must not wait for it.
        DisassociateCurrentThreadFromCallback(instance);
        // Through the registering apartment when the handler is not free-threaded (HandlerRoute.h).
        handler.call([self](rt::TimerElapsedHandler* called) { return called->Invoke(self.get()); });
    }

    std::mutex mutex_;
    sim::routed_handler<rt::TimerElapsedHandler> handler_;
    rt::com_ptr<one_shot_timer> pending_;
    const rt::TimeSpan delay_;
    const PTP_TIMER timer_;
};

class thread_pool_timer_factory final
    : public sim::activation_factory<thread_pool_timer_factory, rt::IThreadPoolTimerStatics> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::ThreadPoolTimer;

    HRESULT STDMETHODCALLTYPE CreateTimer(rt::TimerElapsedHandler* handler, rt::TimeSpan delay,
                                          rt::IThreadPoolTimer** timer) override {
        if (!timer) return E_POINTER;
        *timer = nullptr;
        return run_call(L"ThreadPoolTimer.CreateTimer", std::to_wstring(delay.Duration), [&]() -> HRESULT {
            if (!handler) return E_INVALIDARG;
            auto created = sim::make<one_shot_timer>(sim::routed_handler<rt::TimerElapsedHandler>(handler), delay);
            created->start();
            *timer = created.detach();
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE CreatePeriodicTimer(rt::TimerElapsedHandler*, rt::TimeSpan,
                                                  rt::IThreadPoolTimer** timer) override {
        if (timer) *timer = nullptr;
        return not_simulated(L"ThreadPoolTimer.CreatePeriodicTimer");
    }
    HRESULT STDMETHODCALLTYPE CreatePeriodicTimerWithCompletion(rt::TimerElapsedHandler*, rt::TimeSpan,
                                                                rt::TimerDestroyedHandler*,
                                                                rt::IThreadPoolTimer** timer) override {
        if (timer) *timer = nullptr;
        return not_simulated(L"ThreadPoolTimer.CreatePeriodicTimerWithCompletion");
    }
    HRESULT STDMETHODCALLTYPE CreateTimerWithCompletion(rt::TimerElapsedHandler*, rt::TimeSpan,
                                                        rt::TimerDestroyedHandler*,
                                                        rt::IThreadPoolTimer** timer) override {
        if (timer) *timer = nullptr;
        return not_simulated(L"ThreadPoolTimer.CreateTimerWithCompletion");
    }
};

const sim::class_registration registration{rt::class_name::ThreadPoolTimer,
                                           &sim::new_factory<thread_pool_timer_factory>};

}  // namespace
