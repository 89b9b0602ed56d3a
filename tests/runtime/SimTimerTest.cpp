// The simulated one-shot thread-pool timer reached through activation.
#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <memory>

#include "Activation.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "Delegate.h"
#include "Foundation.h"
#include "SimRuntimeControl.h"
#include "Threading.h"

namespace {

constexpr std::int64_t kTicksPerMs = 10000;

struct firings {
    std::atomic<int> count{0};
    std::atomic<DWORD> thread{0};
};

rt::com_ptr<rt::IThreadPoolTimer> create_timer(const std::shared_ptr<firings>& seen, std::int64_t delayMs) {
    const auto statics = rt::get_activation_factory<rt::IThreadPoolTimerStatics>(rt::class_name::ThreadPoolTimer);
    const auto handler = rt::make_delegate<rt::TimerElapsedHandler>([seen](rt::IThreadPoolTimer*) {
        seen->thread = GetCurrentThreadId();
        ++seen->count;
    });
    rt::com_ptr<rt::IThreadPoolTimer> timer;
    rt::check(statics->CreateTimer(handler.get(), rt::TimeSpan{delayMs * kTicksPerMs}, timer.put()));
    return timer;
}

}  // namespace

// The module times out a report's post with such a timer and cancels it on
// every way out; ReportUpload.ACollectorThatAnswersAfterTenSecondsTimesOut
// holds the delay to ten seconds.
TEST(SimTimer, FiresOnceOnAnotherThreadUnlessCancelled) {
    sim_control::reset();
    const auto fired = std::make_shared<firings>();
    const auto cancelled = std::make_shared<firings>();
    const auto timer = create_timer(fired, 50);
    const auto cancelledTimer = create_timer(cancelled, 50);
    rt::check(cancelledTimer->Cancel());

    for (int waited = 0; fired->count == 0 && waited < 5000; waited += 5) Sleep(5);
    Sleep(200);
    EXPECT_EQ(1, fired->count.load());
    EXPECT_NE(GetCurrentThreadId(), fired->thread.load());
    EXPECT_EQ(0, cancelled->count.load());
    EXPECT_EQ(S_OK, cancelledTimer->Cancel());
    EXPECT_EQ(S_OK, timer->Cancel()) << "after it fired";
}
