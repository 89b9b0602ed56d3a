#pragma once
// Asynchronous operations that behave as the platform's do: the completion
// handler is called exactly once, on a thread of the pool, after the planned delay;
// a handler set after the end is called at once; Cancel ends a running
// operation as Canceled. The plan is given explicitly, so the template also
// serves tests that run without the DLL.
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "AbiValue.h"
#include "AsyncPlan.h"
#include "HandlerRoute.h"
#include "ComPtr.h"
#include "Foundation.h"
#include "RuntimeError.h"
#include "SimObject.h"
#include "ThreadPool.h"

namespace sim {

namespace async_detail {
inline std::atomic<UINT32> next_id{1};
}

// IAsyncInfo and the completion part shared by IAsyncOperation<T> and
// IAsyncOperationWithProgress<T, P>.
template <class Derived, class Operation>
class async_core : public object<Derived, Operation, rt::IAsyncInfo> {
public:
    using result_type = typename Operation::result_type;
    using completed_handler = typename Operation::completed_handler;
    // Makes the result when the operation completes; what it throws ends the operation as Error.
    using producer = std::function<rt::owned_t<result_type>()>;

    static constexpr const wchar_t* runtime_class_name = L"SimRuntime.AsyncOperation";

    async_core(async_plan plan, producer produce) : plan_(plan), produce_(std::move(produce)) {}

    void start() {
        if (plan_.outcome == rt::AsyncStatus::Started) return;
        run_on_pool([self = rt::com_ptr<Derived>::copy_from(static_cast<Derived*>(this))] {
            if (self->plan_.delay_ms != 0) Sleep(self->plan_.delay_ms);
            self->run_to_end();
        });
    }

    HRESULT STDMETHODCALLTYPE get_Id(UINT32* id) override {
        return read(L"AsyncOperation.get_Id", [&] { *id = id_; });
    }
    HRESULT STDMETHODCALLTYPE get_Status(rt::AsyncStatus* status) override {
        return read(L"AsyncOperation.get_Status", [&] { *status = status_; });
    }
    HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* errorCode) override {
        return read(L"AsyncOperation.get_ErrorCode", [&] { *errorCode = errorCode_; });
    }

    HRESULT STDMETHODCALLTYPE Cancel() override {
        if (const HRESULT refused = this->admit(L"AsyncOperation.Cancel"); FAILED(refused)) return refused;
        if (plan_.cancel_delay_ms == 0) return cancel_now();
        {
            std::lock_guard lock(mutex_);
            if (closed_) return rt::hresults::illegal_method_call;
        }
        run_on_pool([self = rt::com_ptr<Derived>::copy_from(static_cast<Derived*>(this))] {
            Sleep(self->plan_.cancel_delay_ms);
            self->cancel_now();
        });
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Close() override {
        if (const HRESULT refused = this->admit(L"AsyncOperation.Close"); FAILED(refused)) return refused;
        std::lock_guard lock(mutex_);
        if (closed_) return S_OK;
        if (status_ == rt::AsyncStatus::Started) return rt::hresults::illegal_state_change;
        closed_ = true;
        result_ = {};
        return S_OK;
    }

    // The handler is routed by the apartment it is set from (HandlerRoute.h).
    HRESULT STDMETHODCALLTYPE put_Completed(completed_handler* handler) override {
        if (const HRESULT refused = this->admit(L"AsyncOperation.put_Completed"); FAILED(refused)) return refused;
        rt::AsyncStatus ended;
        routed_handler<completed_handler> routed(handler);
        {
            std::lock_guard lock(mutex_);
            if (closed_) return rt::hresults::illegal_method_call;
            if (completedAssigned_) return rt::hresults::illegal_delegate_assignment;
            completedAssigned_ = true;
            if (status_ == rt::AsyncStatus::Started) {
                completedHandler_ = std::move(routed);
                return S_OK;
            }
            ended = status_;
        }
        invoke_completed(routed, ended);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE get_Completed(completed_handler** handler) override {
        return read(L"AsyncOperation.get_Completed", [&] { *handler = rt::com_ptr<completed_handler>::copy_from(completedHandler_.get()).detach(); });
    }

    HRESULT STDMETHODCALLTYPE GetResults(rt::abi_t<result_type>* results) override {
        if (const HRESULT refused = this->admit(L"AsyncOperation.GetResults"); FAILED(refused)) return refused;
        std::lock_guard lock(mutex_);
        if (closed_) return rt::hresults::illegal_method_call;
        if (status_ == rt::AsyncStatus::Error) return errorCode_;
        if (status_ != rt::AsyncStatus::Completed) return rt::hresults::illegal_method_call;
        return rt::hresult_from([&] { *results = rt::abi_value<result_type>::copy(result_); });
    }

protected:
    // Reports the operation's progress just before it completes.
    virtual void report_progress() {}

    template <class Read>
    HRESULT read(std::wstring_view method, Read&& readState) {
        if (const HRESULT refused = this->admit(method); FAILED(refused)) return refused;
        std::lock_guard lock(mutex_);
        if (closed_) return rt::hresults::illegal_method_call;
        readState();
        return S_OK;
    }

    std::mutex mutex_;

private:
    void invoke_completed(const routed_handler<completed_handler>& handler, rt::AsyncStatus status) {
        handler.call([self = rt::com_ptr<Derived>::copy_from(static_cast<Derived*>(this)), status](
                         completed_handler* target) { return target->Invoke(self.get(), status); });
    }

    HRESULT cancel_now() {
        routed_handler<completed_handler> handler;
        {
            std::lock_guard lock(mutex_);
            if (closed_) return rt::hresults::illegal_method_call;
            if (status_ != rt::AsyncStatus::Started) return S_OK;
            status_ = rt::AsyncStatus::Canceled;
            errorCode_ = plan_.cancel_error_code;
            handler = std::move(completedHandler_);
        }
        if (handler) {
            run_on_pool([self = rt::com_ptr<Derived>::copy_from(static_cast<Derived*>(this)), handler] {
                self->invoke_completed(handler, rt::AsyncStatus::Canceled);
            });
        }
        return S_OK;
    }

    void run_to_end() {
        rt::AsyncStatus outcome = plan_.outcome;
        HRESULT errorCode = plan_.error_code;
        rt::owned_t<result_type> result{};
        if (outcome == rt::AsyncStatus::Completed) {
            errorCode = rt::hresult_from([&] { result = produce_(); });
            if (FAILED(errorCode)) {
                outcome = rt::AsyncStatus::Error;
            } else {
                report_progress();
            }
        }
        end(outcome, errorCode, std::move(result));
    }

    void end(rt::AsyncStatus outcome, HRESULT errorCode, rt::owned_t<result_type> result) {
        routed_handler<completed_handler> handler;
        {
            std::lock_guard lock(mutex_);
            if (status_ != rt::AsyncStatus::Started) return;  // cancelled meanwhile
            status_ = outcome;
            errorCode_ = outcome == rt::AsyncStatus::Completed ? S_OK : errorCode;
            result_ = std::move(result);
            handler = std::move(completedHandler_);
        }
        if (handler) invoke_completed(handler, outcome);
    }

    const async_plan plan_;
    const producer produce_;
    const UINT32 id_ = async_detail::next_id++;
    rt::AsyncStatus status_ = rt::AsyncStatus::Started;
    HRESULT errorCode_ = S_OK;
    rt::owned_t<result_type> result_{};
    routed_handler<completed_handler> completedHandler_;
    bool completedAssigned_ = false;
    bool closed_ = false;
};

// IAsyncOperation<T>.
template <class Operation>
class async_operation final : public async_core<async_operation<Operation>, Operation> {
public:
    using async_core<async_operation<Operation>, Operation>::async_core;
};

// IAsyncOperationWithProgress<T, P>: `progress` is reported, in order, to the
// progress handler set at the time the operation completes.
template <class TResult, class TProgress>
class async_operation<rt::IAsyncOperationWithProgress<TResult, TProgress>> final
    : public async_core<async_operation<rt::IAsyncOperationWithProgress<TResult, TProgress>>,
                        rt::IAsyncOperationWithProgress<TResult, TProgress>> {
    using core = async_core<async_operation, rt::IAsyncOperationWithProgress<TResult, TProgress>>;
    using progress_handler = rt::AsyncOperationProgressHandler<TResult, TProgress>;

public:
    async_operation(async_plan plan, typename core::producer produce, std::vector<TProgress> progress = {})
        : core(plan, std::move(produce)), progress_(std::move(progress)) {}

    HRESULT STDMETHODCALLTYPE put_Progress(progress_handler* handler) override {
        return this->read(L"AsyncOperation.put_Progress", [&] { progressHandler_ = rt::com_ptr<progress_handler>::copy_from(handler); });
    }
    HRESULT STDMETHODCALLTYPE get_Progress(progress_handler** handler) override {
        return this->read(L"AsyncOperation.get_Progress", [&] { *handler = rt::com_ptr<progress_handler>(progressHandler_).detach(); });
    }

private:
    void report_progress() override {
        rt::com_ptr<progress_handler> handler;
        {
            std::lock_guard lock(this->mutex_);
            handler = progressHandler_;
        }
        if (!handler) return;
        for (const TProgress& step : progress_) handler->Invoke(this, rt::abi_value<TProgress>::copy(step));
    }

    const std::vector<TProgress> progress_;
    rt::com_ptr<progress_handler> progressHandler_;
};

// A new operation, already running. Arguments: the plan, the producer of the
// result and, for operations with progress, the progress to report.
template <class Operation, class... Args>
rt::com_ptr<Operation> start_async(Args&&... args) {
    auto operation = make<async_operation<Operation>>(std::forward<Args>(args)...);
    operation->start();
    return operation;
}

}  // namespace sim
