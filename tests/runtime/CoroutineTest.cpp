// Coroutines over the runtime's asynchronous operations, against the
// simulated operations (which complete on threads of their own).
#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "AsyncOperation.h"
#include "AsyncWait.h"
#include "Coroutine.h"

namespace {

using BoolOperation = rt::IAsyncOperation<bool>;

sim::async_plan Ends(rt::AsyncStatus outcome, HRESULT errorCode = S_OK, std::uint32_t delayMs = 0) {
    sim::async_plan plan;
    plan.outcome = outcome;
    plan.error_code = errorCode;
    plan.delay_ms = delayMs;
    return plan;
}

rt::com_ptr<BoolOperation> StartBool(sim::async_plan plan, bool value = true) {
    return sim::start_async<BoolOperation>(plan, [value] { return value; });
}

rt::async_operation<HSTRING> Describe(rt::com_ptr<BoolOperation> first, DWORD* resumedOn) {
    const bool value = co_await first;
    *resumedOn = GetCurrentThreadId();
    co_return std::wstring(value ? L"yes" : L"no");
}

rt::async_operation<bool> AwaitAndReport(rt::com_ptr<BoolOperation> operation, HRESULT* caught) {
    try {
        co_return co_await operation;
    } catch (const rt::hresult_error& error) {
        *caught = error.code();
        co_return false;
    }
}

rt::async_operation<int> Throws(HRESULT code) {
    co_await StartBool(Ends(rt::AsyncStatus::Completed));
    rt::check(code);
    co_return 1;
}

HRESULT ErrorCodeOf(IUnknown* operation) {
    HRESULT code = S_OK;
    rt::com_ptr<IUnknown>::copy_from(operation).As<rt::IAsyncInfo>()->get_ErrorCode(&code);
    return code;
}

rt::AsyncStatus StatusOf(IUnknown* operation) {
    rt::AsyncStatus status = rt::AsyncStatus::Started;
    rt::com_ptr<IUnknown>::copy_from(operation).As<rt::IAsyncInfo>()->get_Status(&status);
    return status;
}

}  // namespace

TEST(Coroutine, ResumesOnTheCompletingThreadWithTheResult) {
    DWORD resumedOn = 0;
    const auto operation = Describe(StartBool(Ends(rt::AsyncStatus::Completed, S_OK, 20)), &resumedOn);
    EXPECT_EQ(L"yes", rt::wait_for_result(operation.get()).str());
    EXPECT_NE(0u, resumedOn);
    EXPECT_NE(GetCurrentThreadId(), resumedOn);
    EXPECT_EQ(rt::AsyncStatus::Completed, StatusOf(operation.get()));
}

TEST(Coroutine, FailedAndCancelledOperationsRaiseTheirCodes) {
    HRESULT caught = S_OK;
    auto failed = AwaitAndReport(StartBool(Ends(rt::AsyncStatus::Error, E_ACCESSDENIED)), &caught);
    EXPECT_FALSE(rt::wait_for_result(failed.get()));
    EXPECT_EQ(E_ACCESSDENIED, caught);

    // The canceller decides the operation's ErrorCode; the awaiter always sees 0x800704C7.
    sim::async_plan neverEnds = Ends(rt::AsyncStatus::Started);
    neverEnds.cancel_error_code = E_ABORT;
    const auto inner = StartBool(neverEnds);
    caught = S_OK;
    auto cancelled = AwaitAndReport(inner, &caught);
    rt::check(inner.As<rt::IAsyncInfo>()->Cancel());
    EXPECT_FALSE(rt::wait_for_result(cancelled.get()));
    EXPECT_EQ(static_cast<HRESULT>(0x800704C7), caught);
}

TEST(Coroutine, AnExceptionLeavingTheBodyEndsTheOperationAsError) {
    const auto operation = Throws(E_INVALIDARG);
    try {
        rt::wait_for_result(operation.get());
        FAIL() << "no error";
    } catch (const rt::hresult_error& error) {
        EXPECT_EQ(E_INVALIDARG, error.code());
    }
    EXPECT_EQ(rt::AsyncStatus::Error, StatusOf(operation.get()));
    EXPECT_EQ(E_INVALIDARG, ErrorCodeOf(operation.get()));
    int value = 0;
    EXPECT_EQ(E_INVALIDARG, operation.get()->GetResults(&value));
}
