// The simulated asynchronous operation, the core of every operation of the
// simulated runtime, behaves as the platform's do.
#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <thread>

#include "AsyncOperation.h"
#include "AsyncWait.h"
#include "Delegate.h"

namespace {

using BoolOperation = rt::IAsyncOperation<bool>;
using namespace std::chrono_literals;

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit = 5000ms) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

// What a completion handler saw.
struct completion_record {
    std::atomic<int> calls{0};
    std::atomic<rt::AsyncStatus> status{rt::AsyncStatus::Started};
    std::atomic<DWORD> thread{0};
};

template <class Operation>
rt::com_ptr<typename Operation::completed_handler> recording_handler(const std::shared_ptr<completion_record>& record) {
    return rt::make_delegate<typename Operation::completed_handler>([record](Operation*, rt::AsyncStatus status) {
        record->status = status;
        record->thread = GetCurrentThreadId();
        ++record->calls;
    });
}

rt::AsyncStatus status_of(const rt::com_ptr<BoolOperation>& operation) {
    rt::AsyncStatus status = rt::AsyncStatus::Started;
    EXPECT_EQ(S_OK, operation.As<rt::IAsyncInfo>()->get_Status(&status));
    return status;
}

HRESULT error_code_of(const rt::com_ptr<BoolOperation>& operation) {
    HRESULT errorCode = S_OK;
    EXPECT_EQ(S_OK, operation.As<rt::IAsyncInfo>()->get_ErrorCode(&errorCode));
    return errorCode;
}

sim::async_plan after(std::uint32_t delayMs) {
    sim::async_plan plan;
    plan.delay_ms = delayMs;
    return plan;
}

}  // namespace

TEST(SimAsyncOperation, CompletesOnceOnAnotherThreadAfterTheDelay) {
    const auto operation = sim::start_async<BoolOperation>(after(60), [] { return true; });
    const auto record = std::make_shared<completion_record>();
    ASSERT_EQ(S_OK, operation->put_Completed(recording_handler<BoolOperation>(record).get()));

    boolean result = 0;
    EXPECT_EQ(rt::AsyncStatus::Started, status_of(operation));
    EXPECT_EQ(rt::hresults::illegal_method_call, operation->GetResults(&result));
    EXPECT_EQ(0, record->calls.load());

    ASSERT_TRUE(eventually([&] { return record->calls > 0; }));
    std::this_thread::sleep_for(60ms);
    EXPECT_EQ(1, record->calls.load());
    EXPECT_EQ(rt::AsyncStatus::Completed, record->status.load());
    EXPECT_NE(GetCurrentThreadId(), record->thread.load());
    EXPECT_EQ(S_OK, operation->GetResults(&result));
    EXPECT_EQ(1, result);
    EXPECT_EQ(S_OK, error_code_of(operation));
}

TEST(SimAsyncOperation, HandlerSetAfterTheEndRunsAtOnceOnTheCaller) {
    const auto operation = sim::start_async<BoolOperation>(after(0), [] { return false; });
    ASSERT_TRUE(eventually([&] { return status_of(operation) == rt::AsyncStatus::Completed; }));

    const auto record = std::make_shared<completion_record>();
    ASSERT_EQ(S_OK, operation->put_Completed(recording_handler<BoolOperation>(record).get()));
    EXPECT_EQ(1, record->calls.load());
    EXPECT_EQ(GetCurrentThreadId(), record->thread.load());
    EXPECT_EQ(rt::hresults::illegal_delegate_assignment,
              operation->put_Completed(recording_handler<BoolOperation>(record).get()));
}

// A steered cancel code other than ERROR_CANCELLED is pinned by the package
// tests (InstallTest.AnOperationThatDidNotCompleteReturnsItsOwnErrorCode).
TEST(SimAsyncOperation, CancelEndsTheOperationCanceledWithoutItsPlannedCompletion) {
    const auto operation = sim::start_async<BoolOperation>(after(80), [] { return true; });
    const auto record = std::make_shared<completion_record>();
    ASSERT_EQ(S_OK, operation->put_Completed(recording_handler<BoolOperation>(record).get()));
    ASSERT_EQ(S_OK, operation.As<rt::IAsyncInfo>()->Cancel());

    EXPECT_EQ(rt::AsyncStatus::Canceled, status_of(operation));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_CANCELLED), error_code_of(operation));
    ASSERT_TRUE(eventually([&] { return record->calls > 0; }));
    std::this_thread::sleep_for(150ms);  // past the planned completion, which must not come
    EXPECT_EQ(1, record->calls.load());
    EXPECT_EQ(rt::AsyncStatus::Canceled, record->status.load());
    EXPECT_NE(GetCurrentThreadId(), record->thread.load());

    boolean result = 0;
    EXPECT_EQ(rt::hresults::illegal_method_call, operation->GetResults(&result));
    EXPECT_EQ(S_OK, operation.As<rt::IAsyncInfo>()->Close());
    rt::AsyncStatus status;
    EXPECT_EQ(rt::hresults::illegal_method_call, operation.As<rt::IAsyncInfo>()->get_Status(&status));
}
