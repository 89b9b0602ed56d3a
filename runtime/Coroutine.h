#pragma once
// C++20 coroutines over the runtime's asynchronous model.
//
// - `co_await` any IAsyncOperation<T>, IAsyncOperationWithProgress<T, P> or
//   IAsyncAction held in a com_ptr (or an rt::async_operation<T> / rt::async_action):
//   the coroutine resumes on the thread that completes the operation, gets the
//   result as its owned type, and sees a failure as rt::hresult_error with the
//   operation's ErrorCode (a cancelled one as 0x800704C7).
// - A coroutine function returning rt::async_operation<T> or rt::async_action
//   is itself a genuine runtime operation: IAsyncOperation<T> / IAsyncAction
//   with IAsyncInfo (Completed settable once, Status, ErrorCode, Cancel,
//   GetResults, Close), which any caller can wait on or hand to the platform.
//   It starts at once on the calling thread and runs until its first
//   suspension. Cancel marks it Canceled and cancels the operation it awaits;
//   its completion handler runs when the coroutine body has ended.
#include <windows.h>
#include <inspectable.h>

#include <atomic>
#include <coroutine>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>
#include <variant>

#include "AbiValue.h"
#include "AsyncWait.h"
#include "ComPtr.h"
#include "Delegate.h"
#include "Foundation.h"
#include "RuntimeError.h"

namespace rt {

namespace coroutine_detail {

template <class T>
concept async_interface = requires {
    typename T::completed_handler;
    typename T::result_type;
};

// Decides who resumes the coroutine: the completion handler, or await_suspend
// itself when the handler ran before put_Completed returned.
class resume_once {
public:
    explicit resume_once(std::coroutine_handle<> coroutine) : coroutine_(coroutine) {}
    void from_handler() {
        if (arrived_.exchange(true)) coroutine_.resume();
    }
    // True: stay suspended, the handler resumes later.
    bool from_suspend() { return !arrived_.exchange(true); }

private:
    std::coroutine_handle<> coroutine_;
    std::atomic<bool> arrived_{false};
};

template <class Operation>
class operation_awaiter {
public:
    explicit operation_awaiter(com_ptr<Operation> operation) : operation_(std::move(operation)) {}

    bool await_ready() const noexcept { return false; }

    bool await_suspend(std::coroutine_handle<> coroutine) {
        const auto resume = std::make_shared<resume_once>(coroutine);
        const auto handler = make_delegate<typename Operation::completed_handler>(
            [resume](auto*, AsyncStatus) { resume->from_handler(); });
        // A throw here resumes the coroutine with the exception.
        check(operation_->put_Completed(handler.get()));
        return resume->from_suspend();
    }

    auto await_resume() { return rt::results_of(operation_.get()); }

    Operation* get() const noexcept { return operation_.get(); }

private:
    com_ptr<Operation> operation_;
};

template <class T>
struct stored {
    using type = owned_t<T>;
};
template <>
struct stored<void> {
    using type = std::monostate;
};

// The GetResults slot, whose signature depends on the result type.
template <class Derived, class Interface, class Result = typename Interface::result_type>
struct get_results_slot : Interface {
    HRESULT STDMETHODCALLTYPE GetResults(abi_t<Result>* results) override {
        return static_cast<Derived*>(this)->copy_results(results);
    }
};
template <class Derived, class Interface>
struct get_results_slot<Derived, Interface, void> : Interface {
    HRESULT STDMETHODCALLTYPE GetResults() override {
        return static_cast<Derived*>(this)->copy_results(static_cast<void*>(nullptr));
    }
};

// IAsyncOperation<T> or IAsyncAction made by a coroutine.
template <class Interface>
class operation_object final : public get_results_slot<operation_object<Interface>, Interface>, public IAsyncInfo {
public:
    using result_type = typename Interface::result_type;
    using completed_handler = typename Interface::completed_handler;
    using stored_result = typename stored<result_type>::type;

    // IUnknown and IInspectable, answered for the operation interface.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        if (iid == iid_of<Interface> || iid == iid_of<IUnknown> || iid == iid_of<IInspectable> ||
            iid == iid_of<IAgileObject>) {
            *object = static_cast<Interface*>(this);
        } else if (iid == iid_of<IAsyncInfo>) {
            *object = static_cast<IAsyncInfo*>(this);
        } else {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE GetIids(ULONG* count, IID** iids) override {
        if (!count || !iids) return E_POINTER;
        auto* listed = static_cast<IID*>(CoTaskMemAlloc(2 * sizeof(IID)));
        if (!listed) return E_OUTOFMEMORY;
        listed[0] = iid_of<Interface>;
        listed[1] = iid_of<IAsyncInfo>;
        *count = 2;
        *iids = listed;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetRuntimeClassName(HSTRING* name) override {
        if (!name) return E_POINTER;
        *name = nullptr;  // not a runtime class: the empty name
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTrustLevel(TrustLevel* level) override {
        if (!level) return E_POINTER;
        *level = BaseTrust;
        return S_OK;
    }

    // IAsyncInfo
    HRESULT STDMETHODCALLTYPE get_Id(UINT32* id) override {
        return read([&] { *id = id_; });
    }
    HRESULT STDMETHODCALLTYPE get_Status(AsyncStatus* status) override {
        return read([&] { *status = status_; });
    }
    HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* errorCode) override {
        return read([&] { *errorCode = errorCode_; });
    }
    HRESULT STDMETHODCALLTYPE Cancel() override {
        com_ptr<IAsyncInfo> awaited;
        {
            std::lock_guard lock(mutex_);
            if (closed_) return hresults::illegal_method_call;
            if (status_ != AsyncStatus::Started) return S_OK;
            status_ = AsyncStatus::Canceled;
            errorCode_ = hresults::canceled;
            awaited = awaited_;
        }
        if (awaited) awaited->Cancel();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Close() override {
        std::lock_guard lock(mutex_);
        if (closed_) return S_OK;
        if (!ended_) return hresults::illegal_state_change;
        closed_ = true;
        result_ = {};
        return S_OK;
    }

    // IAsyncOperation<T> / IAsyncAction
    HRESULT STDMETHODCALLTYPE put_Completed(completed_handler* handler) override {
        // Set under the lock below before its one use.
        AsyncStatus ended;  // NOLINT(cppcoreguidelines-init-variables)
        {
            std::lock_guard lock(mutex_);
            if (closed_) return hresults::illegal_method_call;
            if (completedAssigned_) return hresults::illegal_delegate_assignment;
            completedAssigned_ = true;
            if (!ended_) {
                completed_ = com_ptr<completed_handler>::copy_from(handler);
                return S_OK;
            }
            ended = status_;
        }
        if (handler) handler->Invoke(this, ended);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Completed(completed_handler** handler) override {
        return read([&] { *handler = com_ptr<completed_handler>(completed_).detach(); });
    }
    template <class Out>
    HRESULT copy_results(Out* out) {
        std::lock_guard lock(mutex_);
        if (closed_ || !ended_) return hresults::illegal_method_call;
        if (status_ != AsyncStatus::Completed) return errorCode_;
        if constexpr (std::is_void_v<result_type>) {
            return S_OK;
        } else {
            return hresult_from([&] { *out = abi_value<result_type>::copy(result_); });
        }
    }

    // For the coroutine's promise.
    void set_result(stored_result result) {
        std::lock_guard lock(mutex_);
        result_ = std::move(result);
    }
    void set_error(HRESULT errorCode) {
        std::lock_guard lock(mutex_);
        failure_ = errorCode;
    }
    bool cancel_requested() {
        std::lock_guard lock(mutex_);
        return status_ == AsyncStatus::Canceled;
    }
    // The operation the coroutine waits for now, so Cancel reaches it.
    // By value: callers hand over the temporary they just made. The copy kept
    // below is a reference count, and Cancel still needs `awaited` afterwards.
    void set_awaited(com_ptr<IAsyncInfo> awaited) {  // NOLINT(performance-unnecessary-value-param)
        bool cancelNow = false;
        {
            std::lock_guard lock(mutex_);
            awaited_ = awaited;
            cancelNow = awaited && status_ == AsyncStatus::Canceled;
        }
        if (cancelNow) awaited->Cancel();
    }
    // The body has ended: the status is settled and the handler told.
    void finish() noexcept {
        com_ptr<completed_handler> handler;
        // Set under the lock below before its one use.
        AsyncStatus ended;  // NOLINT(cppcoreguidelines-init-variables)
        {
            std::lock_guard lock(mutex_);
            awaited_ = nullptr;
            if (status_ == AsyncStatus::Started) {
                status_ = FAILED(failure_) ? AsyncStatus::Error : AsyncStatus::Completed;
                errorCode_ = failure_;
            }
            ended_ = true;
            ended = status_;
            handler = std::move(completed_);
        }
        if (handler) handler->Invoke(this, ended);
    }

private:
    template <class Read>
    HRESULT read(Read&& readState) {
        std::lock_guard lock(mutex_);
        if (closed_) return hresults::illegal_method_call;
        readState();
        return S_OK;
    }

    static inline std::atomic<UINT32> next_id_{1};

    std::atomic<ULONG> references_{1};
    std::mutex mutex_;
    const UINT32 id_ = next_id_++;
    AsyncStatus status_ = AsyncStatus::Started;
    HRESULT errorCode_ = S_OK;
    HRESULT failure_ = S_OK;
    bool ended_ = false;
    bool closed_ = false;
    bool completedAssigned_ = false;
    stored_result result_{};
    com_ptr<completed_handler> completed_;
    com_ptr<IAsyncInfo> awaited_;
};

template <class Interface>
class promise_base;

// Awaits an operation on behalf of a coroutine that is itself an operation:
// its Cancel reaches the awaited one, and a cancelled coroutine stops at its
// next suspension.
template <class Interface, class Operation>
class cancellable_awaiter {
public:
    cancellable_awaiter(operation_object<Interface>* owner, com_ptr<Operation> operation)
        : owner_(owner), inner_(std::move(operation)) {}

    bool await_ready() const noexcept { return false; }
    bool await_suspend(std::coroutine_handle<> coroutine) {
        if (owner_->cancel_requested()) throw hresult_error(hresults::canceled);
        owner_->set_awaited(com_ptr<Operation>::copy_from(inner_.get()).template TryAs<IAsyncInfo>());
        return inner_.await_suspend(coroutine);
    }
    auto await_resume() {
        owner_->set_awaited(nullptr);
        return inner_.await_resume();
    }

private:
    operation_object<Interface>* owner_;
    operation_awaiter<Operation> inner_;
};

// Ends the frame before the handler is told, so a waiter woken by the
// completion never races the coroutine's own clean-up.
struct final_awaiter {
    bool await_ready() const noexcept { return false; }
    template <class Promise>
    void await_suspend(std::coroutine_handle<Promise> coroutine) noexcept {
        com_ptr<typename Promise::object_type> object = std::move(coroutine.promise().object);
        coroutine.destroy();
        object->finish();
    }
    void await_resume() const noexcept {}
};

template <class T>
struct is_com_ptr_to_async : std::false_type {};
template <class Operation>
    requires async_interface<Operation>
struct is_com_ptr_to_async<com_ptr<Operation>> : std::true_type {
    using operation = Operation;
};

template <class Interface>
class promise_base {
public:
    using object_type = operation_object<Interface>;

    promise_base() : object(com_ptr<object_type>::attach(new object_type())) {}

    std::suspend_never initial_suspend() const noexcept { return {}; }
    final_awaiter final_suspend() const noexcept { return {}; }
    void unhandled_exception() noexcept { object->set_error(rt::hresult_of_current_exception()); }

    template <class Awaitable>
    decltype(auto) await_transform(Awaitable&& awaitable) {
        using plain = std::remove_cvref_t<Awaitable>;
        if constexpr (is_com_ptr_to_async<plain>::value) {
            return cancellable_awaiter<Interface, typename is_com_ptr_to_async<plain>::operation>(object.get(), awaitable);
        } else if constexpr (requires { typename plain::operation_interface; }) {
            return cancellable_awaiter<Interface, typename plain::operation_interface>(object.get(),
                                                                                       awaitable.operation());
        } else {
            return std::forward<Awaitable>(awaitable);
        }
    }

    com_ptr<object_type> object;
};

}  // namespace coroutine_detail

// `co_await` outside coroutines of this layer (any coroutine type).
template <class Operation>
    requires coroutine_detail::async_interface<Operation>
coroutine_detail::operation_awaiter<Operation> operator co_await(const com_ptr<Operation>& operation) {
    return coroutine_detail::operation_awaiter<Operation>(operation);
}

template <class Interface>
class async_coroutine {
public:
    using operation_interface = Interface;

    explicit async_coroutine(com_ptr<Interface> operation) : operation_(std::move(operation)) {}

    // The runtime object: IAsyncOperation<T> or IAsyncAction.
    const com_ptr<Interface>& operation() const noexcept { return operation_; }
    Interface* get() const noexcept { return operation_.get(); }

private:
    com_ptr<Interface> operation_;
};

// Return type of a coroutine that yields a T.
template <class T>
class async_operation : public async_coroutine<IAsyncOperation<T>> {
public:
    using async_coroutine<IAsyncOperation<T>>::async_coroutine;

    struct promise_type : coroutine_detail::promise_base<IAsyncOperation<T>> {
        async_operation get_return_object() { return async_operation(this->object); }
        template <class Value>
        void return_value(Value&& value) {
            this->object->set_result(owned_t<T>(std::forward<Value>(value)));
        }
    };
};

// Return type of a coroutine that yields nothing.
class async_action : public async_coroutine<IAsyncAction> {
public:
    using async_coroutine<IAsyncAction>::async_coroutine;

    struct promise_type : coroutine_detail::promise_base<IAsyncAction> {
        async_action get_return_object() { return async_action(this->object); }
        void return_void() const noexcept {}
    };
};

template <class Interface>
coroutine_detail::operation_awaiter<Interface> operator co_await(const async_coroutine<Interface>& coroutine) {
    return coroutine_detail::operation_awaiter<Interface>(coroutine.operation());
}

}  // namespace rt
