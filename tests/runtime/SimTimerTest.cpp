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
    std::atomic<IUnknown*> timer{nullptr};
};

rt::com_ptr<rt::IThreadPoolTimer> create_timer(const std::shared_ptr<firings>& seen, std::int64_t delayMs) {
    const auto statics = rt::get_activation_factory<rt::IThreadPoolTimerStatics>(rt::class_name::ThreadPoolTimer);
    const auto handler = rt::make_delegate<rt::TimerElapsedHandler>([seen](rt::IThreadPoolTimer* timer) {
        seen->thread = GetCurrentThreadId();
        seen->timer = rt::com_ptr<rt::IThreadPoolTimer>::copy_from(timer).As<IUnknown>().get();
        ++seen->count;
    });
    rt::com_ptr<rt::IThreadPoolTimer> timer;
    rt::check(statics->CreateTimer(handler.get(), rt::TimeSpan{delayMs * kTicksPerMs}, timer.put()));
    return timer;
}

class SimTimer : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
};

}  // namespace

TEST_F(SimTimer, FiresOnceAfterTheDelayOnAnotherThreadWithItselfAsArgument) {
    const auto seen = std::make_shared<firings>();
    const ULONGLONG created = GetTickCount64();
    const auto timer = create_timer(seen, 100);
    rt::TimeSpan delay{};
    rt::check(timer->get_Delay(&delay));
    EXPECT_EQ(100 * kTicksPerMs, delay.Duration);

    for (int waited = 0; seen->count == 0 && waited < 5000; waited += 5) Sleep(5);
    const ULONGLONG fired = GetTickCount64();
    Sleep(200);
    EXPECT_EQ(1, seen->count.load());
    EXPECT_GE(fired - created, 90u);  // the tick count is coarse
    EXPECT_NE(GetCurrentThreadId(), seen->thread.load());
    EXPECT_EQ(timer.As<IUnknown>().get(), seen->timer.load());
    EXPECT_EQ(1u, sim_control::call_count(L"ThreadPoolTimer.CreateTimer"));
}

TEST_F(SimTimer, CancelledTimerNeverFires) {
    const auto seen = std::make_shared<firings>();
    const auto timer = create_timer(seen, 50);
    rt::check(timer->Cancel());
    Sleep(300);
    EXPECT_EQ(0, seen->count.load());
    EXPECT_EQ(S_OK, timer->Cancel());
}
