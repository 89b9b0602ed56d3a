// The bounded and the unbounded wait, against an operation the test ends by hand.
#include <gtest/gtest.h>

#include <windows.h>
#include <objbase.h>

#include <chrono>
#include <future>
#include <thread>

#include "AsyncWait.h"
#include "Foundation.h"
#include "SimObject.h"

namespace {

using BoolOperation = rt::IAsyncOperation<bool>;
using BoolHandler = rt::AsyncOperationCompletedHandler<bool>;

class hand_ended_operation final : public sim::object<hand_ended_operation, BoolOperation, rt::IAsyncInfo> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Test.HandEndedOperation";

    // Ends the operation as the platform does: the handler is called once, then dropped.
    HRESULT end(rt::AsyncStatus status, HRESULT errorCode = S_OK, bool result = false) {
        status_ = status;
        errorCode_ = errorCode;
        result_ = result;
        const auto handler = std::move(handler_);
        return handler ? handler->Invoke(this, status) : S_OK;
    }

    // The handler the waiter attached, as the only reference left to it.
    BoolHandler* take_handler() { return handler_.detach(); }

    HRESULT STDMETHODCALLTYPE put_Completed(BoolHandler* handler) override {
        if (status_ != rt::AsyncStatus::Started) return handler->Invoke(this, status_);
        handler_ = rt::com_ptr<BoolHandler>::copy_from(handler);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Completed(BoolHandler**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetResults(boolean* result) override {
        *result = result_ ? 1 : 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Id(UINT32* id) override {
        *id = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Status(rt::AsyncStatus* status) override {
        *status = status_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* errorCode) override {
        *errorCode = errorCode_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Cancel() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Close() override { return S_OK; }

private:
    rt::com_ptr<BoolHandler> handler_;
    rt::AsyncStatus status_ = rt::AsyncStatus::Started;
    HRESULT errorCode_ = S_OK;
    bool result_ = false;
};

}  // namespace

TEST(RuntimeAsyncWait, TimedOutWaitLeavesTheHandlerAWorkingState) {
    const auto operation = sim::make<hand_ended_operation>();
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(rt::AsyncStatus::Started, rt::wait_for_status(operation.get(), 30));
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(25));

    // The waiter is gone. A late completion still signals a live event (a
    // closed one would make Invoke fail), and the handler dies with its last reference.
    BoolHandler* handler = operation->take_handler();
    ASSERT_NE(nullptr, handler);
    EXPECT_EQ(S_OK, handler->Invoke(operation.get(), rt::AsyncStatus::Completed));
    EXPECT_EQ(0u, handler->Release());
}

TEST(RuntimeAsyncWait, ReturnsTheStatusTheOperationEndedWith) {
    const auto ended = sim::make<hand_ended_operation>();
    ended->end(rt::AsyncStatus::Error, E_ACCESSDENIED);
    EXPECT_EQ(rt::AsyncStatus::Error, rt::wait_for_status(ended.get(), 5000));

    const auto running = sim::make<hand_ended_operation>();
    std::thread platform([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        running->end(rt::AsyncStatus::Completed);
    });
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(rt::AsyncStatus::Completed, rt::wait_for_status(running.get(), 5000));
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(4));
    platform.join();
}

TEST(RuntimeAsyncWait, WaitForResultReturnsTheResultOrThrowsTheErrorCode) {
    const auto completed = sim::make<hand_ended_operation>();
    completed->end(rt::AsyncStatus::Completed, S_OK, true);
    EXPECT_TRUE(rt::wait_for_result(completed.get()));

    const auto failed = sim::make<hand_ended_operation>();
    failed->end(rt::AsyncStatus::Error, HRESULT_FROM_WIN32(ERROR_INSTALL_FAILURE));
    try {
        rt::wait_for_result(failed.get());
        FAIL() << "no exception";
    } catch (const rt::hresult_error& error) {
        EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_INSTALL_FAILURE), error.code());
    }
}

namespace {

constexpr UINT kEndOperation = WM_APP + 1;

// Ends the operation whose address the message carries, as a handler called
// back through this apartment's message queue would. Sent, not posted: a
// pumping wait delivers sent messages on Windows and Wine alike, a plain wait
// on neither.
LRESULT CALLBACK EndingWindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != kEndOperation) return DefWindowProcW(window, message, wParam, lParam);
    reinterpret_cast<hand_ended_operation*>(lParam)->end(rt::AsyncStatus::Completed);
    return 0;
}

}  // namespace

// A thread of a single-threaded apartment that waits for a completion only its
// own message loop can deliver: a wait that does not pump never ends.
TEST(RuntimeAsyncWait, AWaitInASingleThreadedApartmentDispatchesItsMessages) {
    const auto operation = sim::make<hand_ended_operation>();
    std::promise<HWND> created;
    std::thread waiter([&] {
        EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = EndingWindowProcedure;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = L"AsyncWaitTestWindow";
        RegisterClassW(&windowClass);
        const HWND window = CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                            windowClass.hInstance, nullptr);
        created.set_value(window);
        EXPECT_EQ(rt::AsyncStatus::Completed, rt::wait_for_status(operation.get(), 3000));
        DestroyWindow(window);
        CoUninitialize();
    });
    const HWND window = created.get_future().get();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(SendNotifyMessageW(window, kEndOperation, 0, reinterpret_cast<LPARAM>(operation.get())));
    waiter.join();
}
