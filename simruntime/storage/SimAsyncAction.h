#pragma once
// IAsyncAction as the platform's: a simulated IAsyncOperation<bool> does the
// work and keeps the rules (one handler, on another thread, Cancel, Close);
// this object only presents it without a result.
#include <windows.h>

#include <functional>
#include <mutex>
#include <utility>

#include "AsyncOperation.h"
#include "ComPtr.h"
#include "Delegate.h"
#include "Foundation.h"
#include "HandlerRoute.h"
#include "SimObject.h"

namespace sim {

class async_action final : public object<async_action, rt::IAsyncAction, rt::IAsyncInfo> {
public:
    static constexpr const wchar_t* runtime_class_name = L"SimRuntime.AsyncAction";

    explicit async_action(rt::com_ptr<rt::IAsyncOperation<bool>> work)
        : work_(std::move(work)), info_(work_.As<rt::IAsyncInfo>()) {}

    HRESULT STDMETHODCALLTYPE put_Completed(rt::AsyncActionCompletedHandler* handler) override {
        rt::com_ptr<rt::AsyncOperationCompletedHandler<bool>> forwarder;
        if (handler) {
            // Holds this action until the work ends, as a running operation holds itself.
            // Routed by the caller's handler, not by this forwarder (HandlerRoute.h).
            forwarder = rt::make_delegate<rt::AsyncOperationCompletedHandler<bool>>(
                [self = rt::com_ptr<async_action>::copy_from(this),
                 target = routed_handler<rt::AsyncActionCompletedHandler>(handler)](rt::IAsyncOperation<bool>*,
                                                                                  rt::AsyncStatus status) {
                    return target.call([self, status](rt::AsyncActionCompletedHandler* called) {
                        return called->Invoke(self.get(), status);
                    });
                });
        }
        // Not under the lock: a handler set after the end runs inside this call.
        const HRESULT result = work_->put_Completed(forwarder.get());
        if (FAILED(result)) return result;
        std::lock_guard lock(mutex_);
        handler_ = rt::com_ptr<rt::AsyncActionCompletedHandler>::copy_from(handler);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Completed(rt::AsyncActionCompletedHandler** handler) override {
        if (!handler) return E_POINTER;
        std::lock_guard lock(mutex_);
        *handler = rt::com_ptr<rt::AsyncActionCompletedHandler>(handler_).detach();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetResults() override {
        boolean ignored = 0;
        return work_->GetResults(&ignored);
    }

    HRESULT STDMETHODCALLTYPE get_Id(UINT32* id) override { return info_->get_Id(id); }
    HRESULT STDMETHODCALLTYPE get_Status(rt::AsyncStatus* status) override { return info_->get_Status(status); }
    HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* errorCode) override { return info_->get_ErrorCode(errorCode); }
    HRESULT STDMETHODCALLTYPE Cancel() override { return info_->Cancel(); }
    HRESULT STDMETHODCALLTYPE Close() override { return info_->Close(); }

private:
    const rt::com_ptr<rt::IAsyncOperation<bool>> work_;
    const rt::com_ptr<rt::IAsyncInfo> info_;
    std::mutex mutex_;
    rt::com_ptr<rt::AsyncActionCompletedHandler> handler_;
};

// A new action, already running: `work` runs on the action's thread when it
// completes as planned; what it throws ends the action as Error.
inline rt::com_ptr<rt::IAsyncAction> start_action(async_plan plan, std::function<void()> work) {
    auto operation = start_async<rt::IAsyncOperation<bool>>(plan, [work = std::move(work)] {
        work();
        return true;
    });
    return make<async_action>(std::move(operation));
}

}  // namespace sim
