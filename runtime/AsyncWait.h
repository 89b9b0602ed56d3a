#pragma once
// Waiting on asynchronous operations from a thread that may block: a bounded
// wait that tells how far the operation got, and an unbounded wait for its
// result. Works for IAsyncOperation<T>, IAsyncOperationWithProgress<T, P> and IAsyncAction.
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "UniqueHandle.h"
#include "AbiValue.h"
#include "ComPtr.h"
#include "Delegate.h"
#include "Foundation.h"
#include "RuntimeError.h"

namespace rt {

namespace async_detail {

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
        WaitForSingleObject(event_.get(), milliseconds);
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

// Blocks until the operation ends. Returns its result (owned: com_ptr, hstring,
// bool or the value); throws hresult_error with the operation's ErrorCode when
// it did not complete.
template <class Operation>
auto wait_for_result(Operation* operation) {
    using result_type = typename Operation::result_type;
    if (async_detail::wait(operation, INFINITE) != AsyncStatus::Completed) {
        HRESULT errorCode = S_OK;
        check(com_ptr<Operation>::copy_from(operation).template As<IAsyncInfo>()->get_ErrorCode(&errorCode));
        throw hresult_error(errorCode);
    }
    if constexpr (std::is_void_v<result_type>) {
        check(operation->GetResults());
    } else {
        abi_t<result_type> result{};
        check(operation->GetResults(&result));
        return abi_value<result_type>::take(result);
    }
}

}  // namespace rt
