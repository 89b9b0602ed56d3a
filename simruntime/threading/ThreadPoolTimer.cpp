// Windows.System.Threading.ThreadPoolTimer, which Wine does not provide:
// one-shot timers whose handler runs once, on a thread of its own, after the
// delay, unless Cancel came first.
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

#include "ClassNames.h"
#include "ClassTable.h"
#include "DetachedThread.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "Threading.h"
#include "UniqueHandle.h"

namespace {

// Rounded up: a timer never fires early.
DWORD wait_milliseconds(const rt::TimeSpan& delay) {
    if (delay.Duration <= 0) return 0;
    const std::int64_t milliseconds = (delay.Duration + 9999) / 10000;
    return static_cast<DWORD>(std::min<std::int64_t>(milliseconds, INFINITE - 1));
}

UniqueHandle create_manual_reset_event() {
    UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!event.valid()) throw rt::hresult_error(HRESULT_FROM_WIN32(GetLastError()));
    return event;
}

class one_shot_timer final : public sim::object<one_shot_timer, rt::IThreadPoolTimer> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::ThreadPoolTimer;

    one_shot_timer(rt::com_ptr<rt::TimerElapsedHandler> handler, rt::TimeSpan delay)
        : handler_(std::move(handler)), delay_(delay), cancelled_(create_manual_reset_event()) {}

    void start() {
        sim::run_detached([self = rt::com_ptr<one_shot_timer>::copy_from(this)] { self->wait_and_fire(); });
    }

    HRESULT STDMETHODCALLTYPE get_Period(rt::TimeSpan* value) override {
        if (!value) return E_POINTER;
        return sim::run_call(L"ThreadPoolTimer.get_Period", L"", [&] { *value = rt::TimeSpan{0}; });
    }
    HRESULT STDMETHODCALLTYPE get_Delay(rt::TimeSpan* value) override {
        if (!value) return E_POINTER;
        return sim::run_call(L"ThreadPoolTimer.get_Delay", L"", [&] { *value = delay_; });
    }

    // Once this returns the handler is never started; one already running goes on.
    HRESULT STDMETHODCALLTYPE Cancel() override {
        return sim::run_call(L"ThreadPoolTimer.Cancel", L"", [&] {
            rt::com_ptr<rt::TimerElapsedHandler> dropped;
            {
                std::lock_guard lock(mutex_);
                dropped = std::move(handler_);
            }
            SetEvent(cancelled_.get());
        });
    }

private:
    void wait_and_fire() {
        if (WaitForSingleObject(cancelled_.get(), wait_milliseconds(delay_)) != WAIT_TIMEOUT) return;
        rt::com_ptr<rt::TimerElapsedHandler> handler;
        {
            std::lock_guard lock(mutex_);
            handler = std::move(handler_);
        }
        if (handler) handler->Invoke(this);
    }

    std::mutex mutex_;
    rt::com_ptr<rt::TimerElapsedHandler> handler_;
    const rt::TimeSpan delay_;
    const UniqueHandle cancelled_;
};

class thread_pool_timer_factory final
    : public sim::activation_factory<thread_pool_timer_factory, rt::IThreadPoolTimerStatics> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::ThreadPoolTimer;

    HRESULT STDMETHODCALLTYPE CreateTimer(rt::TimerElapsedHandler* handler, rt::TimeSpan delay,
                                          rt::IThreadPoolTimer** timer) override {
        if (!timer) return E_POINTER;
        *timer = nullptr;
        return sim::run_call(L"ThreadPoolTimer.CreateTimer", std::to_wstring(delay.Duration), [&]() -> HRESULT {
            if (!handler) return E_INVALIDARG;
            auto created = sim::make<one_shot_timer>(rt::com_ptr<rt::TimerElapsedHandler>::copy_from(handler), delay);
            created->start();
            *timer = created.detach();
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE CreatePeriodicTimer(rt::TimerElapsedHandler*, rt::TimeSpan,
                                                  rt::IThreadPoolTimer** timer) override {
        if (timer) *timer = nullptr;
        return sim::not_simulated(L"ThreadPoolTimer.CreatePeriodicTimer");
    }
    HRESULT STDMETHODCALLTYPE CreatePeriodicTimerWithCompletion(rt::TimerElapsedHandler*, rt::TimeSpan,
                                                                rt::TimerDestroyedHandler*,
                                                                rt::IThreadPoolTimer** timer) override {
        if (timer) *timer = nullptr;
        return sim::not_simulated(L"ThreadPoolTimer.CreatePeriodicTimerWithCompletion");
    }
    HRESULT STDMETHODCALLTYPE CreateTimerWithCompletion(rt::TimerElapsedHandler*, rt::TimeSpan,
                                                        rt::TimerDestroyedHandler*,
                                                        rt::IThreadPoolTimer** timer) override {
        if (timer) *timer = nullptr;
        return sim::not_simulated(L"ThreadPoolTimer.CreateTimerWithCompletion");
    }
};

const sim::class_registration registration{rt::class_name::ThreadPoolTimer,
                                           &sim::new_factory<thread_pool_timer_factory>};

}  // namespace
