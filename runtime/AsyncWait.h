#pragma once
// Waiting on asynchronous operations from a thread that may block: a bounded
// wait that tells how far the operation got, and an unbounded wait for its
// result. Works for IAsyncOperation<T>, IAsyncOperationWithProgress<T, P> and IAsyncAction.
#include <windows.h>
#include <objbase.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "UniqueHandle.h"
#include "AbiValue.h"
#include "Apartment.h"
#include "ComPtr.h"
#include "Delegate.h"
#include "Foundation.h"
#include "RuntimeError.h"

namespace rt {

namespace async_detail {

// A single-threaded apartment receives its incoming calls, and the callbacks
// of handlers registered through a proxy, as messages: a thread of one that
// blocks without pumping them may wait for a completion that only it can
// deliver. So it waits as COM requires there ("CoWaitForMultipleHandles
// function"), dispatching calls and window messages ("COWAIT_FLAGS
// enumeration"); other threads have nothing to pump. Should the pumping wait
// be refused (an application STA refuses some flags), the plain wait remains.
inline void wait_for_event(HANDLE event, DWORD milliseconds) noexcept {
    if (current_apartment() == apartment_kind::single_threaded) {
        DWORD index = 0;
        const HRESULT result =
            CoWaitForMultipleHandles(COWAIT_DISPATCH_CALLS | COWAIT_DISPATCH_WINDOW_MESSAGES, milliseconds, 1, &event, &index);
        if (SUCCEEDED(result) || result == RPC_S_CALLPENDING) return;
    }
    WaitForSingleObject(event, milliseconds);
}

inline UniqueHandle create_manual_reset_event() {
    UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!event.valid()) throw hresult_error(HRESULT_FROM_WIN32(GetLastError()));
    return event;
}

// Shared by the waiter and the completion handler; the last one to let go
// frees it, so an operation that completes after the waiter gave up still
// finds a live event.
class completion_signal {
public:
    completion_signal() : event_(create_manual_reset_event()) {}

    HRESULT complete(AsyncStatus status) noexcept {
        status_.store(status);
        return SetEvent(event_.get()) ? S_OK : HRESULT_FROM_WIN32(GetLastError());
    }

    AsyncStatus wait(DWORD milliseconds) const noexcept {
        wait_for_event(event_.get(), milliseconds);
        return status_.load();
    }

private:
    UniqueHandle event_;
    std::atomic<AsyncStatus> status_{AsyncStatus::Started};
};

template <class Operation>
AsyncStatus wait(Operation* operation, DWORD milliseconds) {
    const auto signal = std::make_shared<completion_signal>();
    const auto handler = make_delegate<typename Operation::completed_handler>(
        [signal](auto*, AsyncStatus status) { return signal->complete(status); });
    check(operation->put_Completed(handler.get()));
    return signal->wait(milliseconds);
}

}  // namespace async_detail

// Waits at most `timeoutMs` and returns the operation's status: still Started
// when the time ran out. The wait does not cancel the operation.
template <class Operation>
AsyncStatus wait_for_status(Operation* operation, std::uint32_t timeoutMs) {
    const std::int64_t ticks = static_cast<std::int64_t>(timeoutMs) * 10000;
    return async_detail::wait(operation, static_cast<DWORD>(ticks / 10000));
}

// The result of an operation that has ended: its value (owned: com_ptr,
// hstring, bool or the value), or rt::hresult_error with its ErrorCode; a
// cancelled one raises 0x800704C7, whatever its canceller left as ErrorCode.
template <class Operation>
auto results_of(Operation* operation) {
    using result_type = typename Operation::result_type;
    const auto info = com_ptr<Operation>::copy_from(operation).template As<IAsyncInfo>();
    AsyncStatus status = AsyncStatus::Started;
    check(info->get_Status(&status));
    if (status == AsyncStatus::Canceled) throw hresult_error(hresults::canceled);
    if (status == AsyncStatus::Error) {
        HRESULT errorCode = E_FAIL;
        check(info->get_ErrorCode(&errorCode));
        throw_hresult(FAILED(errorCode) ? errorCode : E_FAIL);
    }
    if constexpr (std::is_void_v<result_type>) {
        check(operation->GetResults());
    } else {
        abi_t<result_type> result{};
        check(operation->GetResults(&result));
        return abi_value<result_type>::take(result);
    }
}

// Blocks until the operation ends and returns results_of it.
template <class Operation>
auto wait_for_result(Operation* operation) {
    async_detail::wait(operation, INFINITE);
    return results_of(operation);
}

}  // namespace rt
