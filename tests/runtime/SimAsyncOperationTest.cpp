// The simulated asynchronous operation, the core of every operation of the
// simulated runtime. The module's waits pin its completion; what they cannot
// see is a planned completion that still comes after a Cancel.
#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <memory>

#include "AsyncOperation.h"
#include "AsyncWait.h"
#include "Delegate.h"
#include "Eventually.h"

namespace {

using BoolOperation = rt::IAsyncOperation<bool>;

struct completion_record {
    std::atomic<int> calls{0};
    std::atomic<rt::AsyncStatus> status{rt::AsyncStatus::Started};
    std::atomic<DWORD> thread{0};
};

}  // namespace

// A steered cancel code other than ERROR_CANCELLED is pinned by the package
// tests (InstallTest.AnOperationThatDidNotCompleteReturnsItsOwnErrorCode).
TEST(SimAsyncOperation, CancelEndsTheOperationCanceledWithoutItsPlannedCompletion) {
    sim::async_plan plan;
    plan.delay_ms = 80;
    const auto operation = sim::start_async<BoolOperation>(plan, [] { return true; });
    const auto record = std::make_shared<completion_record>();
    const auto handler =
        rt::make_delegate<BoolOperation::completed_handler>([record](BoolOperation*, rt::AsyncStatus status) {
            record->status = status;
            record->thread = GetCurrentThreadId();
            ++record->calls;
        });
    ASSERT_EQ(S_OK, operation->put_Completed(handler.get()));
    ASSERT_EQ(S_OK, operation.As<rt::IAsyncInfo>()->Cancel());

    HRESULT errorCode = S_OK;
    EXPECT_EQ(S_OK, operation.As<rt::IAsyncInfo>()->get_ErrorCode(&errorCode));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_CANCELLED), errorCode);
    ASSERT_TRUE(Eventually([&] { return record->calls > 0; }));
    Sleep(150);  // past the planned completion, which must not come
    EXPECT_EQ(1, record->calls.load());
    EXPECT_EQ(rt::AsyncStatus::Canceled, record->status.load());
    EXPECT_NE(GetCurrentThreadId(), record->thread.load());
    boolean result = 0;
    EXPECT_EQ(rt::hresults::illegal_method_call, operation->GetResults(&result));
}
