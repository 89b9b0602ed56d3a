// The simulated asynchronous operation behaves as the platform's do.
#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

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

sim::async_plan plan(std::uint32_t delayMs, rt::AsyncStatus outcome = rt::AsyncStatus::Completed,
                     HRESULT errorCode = S_OK) {
    sim::async_plan result;
    result.delay_ms = delayMs;
    result.outcome = outcome;
    result.error_code = errorCode;
    return result;
}

}  // namespace

TEST(SimAsyncOperation, CompletesOnceOnAnotherThreadAfterTheDelay) {
    const auto operation = sim::start_async<BoolOperation>(plan(60), [] { return true; });
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
    const auto operation = sim::start_async<BoolOperation>(plan(0), [] { return false; });
    ASSERT_TRUE(eventually([&] { return status_of(operation) == rt::AsyncStatus::Completed; }));

    const auto record = std::make_shared<completion_record>();
    ASSERT_EQ(S_OK, operation->put_Completed(recording_handler<BoolOperation>(record).get()));
    EXPECT_EQ(1, record->calls.load());
    EXPECT_EQ(GetCurrentThreadId(), record->thread.load());
    EXPECT_EQ(rt::hresults::illegal_delegate_assignment,
              operation->put_Completed(recording_handler<BoolOperation>(record).get()));
}

TEST(SimAsyncOperation, CancelEndsTheOperationCanceledWithThePlannedCode) {
    const auto defaultCode = sim::start_async<BoolOperation>(plan(80), [] { return true; });
    auto customPlan = plan(0, rt::AsyncStatus::Started);
    customPlan.cancel_error_code = E_ABORT;
    const auto customCode = sim::start_async<BoolOperation>(customPlan, [] { return true; });

    const auto record = std::make_shared<completion_record>();
    ASSERT_EQ(S_OK, defaultCode->put_Completed(recording_handler<BoolOperation>(record).get()));
    ASSERT_EQ(S_OK, defaultCode.As<rt::IAsyncInfo>()->Cancel());
    ASSERT_EQ(S_OK, customCode.As<rt::IAsyncInfo>()->Cancel());

    EXPECT_EQ(rt::AsyncStatus::Canceled, status_of(defaultCode));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_CANCELLED), error_code_of(defaultCode));
    EXPECT_EQ(E_ABORT, error_code_of(customCode));
    ASSERT_TRUE(eventually([&] { return record->calls > 0; }));
    std::this_thread::sleep_for(150ms);  // past the planned completion, which must not come
    EXPECT_EQ(1, record->calls.load());
    EXPECT_EQ(rt::AsyncStatus::Canceled, record->status.load());
    EXPECT_NE(GetCurrentThreadId(), record->thread.load());

    boolean result = 0;
    EXPECT_EQ(rt::hresults::illegal_method_call, defaultCode->GetResults(&result));
    EXPECT_EQ(S_OK, defaultCode.As<rt::IAsyncInfo>()->Close());
    rt::AsyncStatus status;
    EXPECT_EQ(rt::hresults::illegal_method_call, defaultCode.As<rt::IAsyncInfo>()->get_Status(&status));
}

TEST(SimAsyncOperation, ErrorsAndOperationsThatNeverEnd) {
    const auto planned = sim::start_async<BoolOperation>(plan(0, rt::AsyncStatus::Error, E_ACCESSDENIED), [] {
        ADD_FAILURE() << "an operation planned to fail makes no result";
        return true;
    });
    const auto thrown = sim::start_async<BoolOperation>(plan(0), []() -> bool { throw rt::hresult_error(E_UNEXPECTED); });
    const auto never = sim::start_async<BoolOperation>(plan(0, rt::AsyncStatus::Started), [] { return true; });

    ASSERT_TRUE(eventually([&] { return status_of(planned) == rt::AsyncStatus::Error; }));
    ASSERT_TRUE(eventually([&] { return status_of(thrown) == rt::AsyncStatus::Error; }));
    boolean result = 0;
    EXPECT_EQ(E_ACCESSDENIED, error_code_of(planned));
    EXPECT_EQ(E_ACCESSDENIED, planned->GetResults(&result));
    EXPECT_EQ(E_UNEXPECTED, error_code_of(thrown));

    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(rt::AsyncStatus::Started, status_of(never));
    EXPECT_EQ(rt::hresults::illegal_state_change, never.As<rt::IAsyncInfo>()->Close());
}

TEST(SimAsyncOperation, ProgressIsReportedBeforeTheResult) {
    using StringOperation = rt::IAsyncOperationWithProgress<HSTRING, std::uint32_t>;
    const auto operation =
        sim::start_async<StringOperation>(plan(30), [] { return rt::hstring(L"done"); }, std::vector<std::uint32_t>{10, 100});

    std::mutex lock;
    std::vector<std::uint32_t> reported;
    const auto progress = rt::make_delegate<StringOperation::progress_handler>([&](StringOperation*, std::uint32_t step) {
        std::lock_guard guard(lock);
        reported.push_back(step);
    });
    ASSERT_EQ(S_OK, operation->put_Progress(progress.get()));

    EXPECT_EQ(L"done", rt::wait_for_result(operation.get()).view());
    std::lock_guard guard(lock);
    EXPECT_EQ((std::vector<std::uint32_t>{10, 100}), reported);
}
