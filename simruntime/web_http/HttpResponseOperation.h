#pragma once
// The operation of one HTTP request: the shared asynchronous core, plus the
// abort signal of the request's connection, which Cancel raises so a blocked
// connect or receive ends at once and the operation's thread finishes.
#include <windows.h>

#include <memory>
#include <utility>

#include "AsyncOperation.h"
#include "HttpConnection.h"
#include "WebHttp.h"

namespace sim {

class http_response_operation final : public async_core<http_response_operation, rt::HttpResponseOperation> {
    using core = async_core<http_response_operation, rt::HttpResponseOperation>;
    using progress_handler = rt::HttpResponseOperation::progress_handler;

public:
    http_response_operation(async_plan plan, std::shared_ptr<abort_signal> abort, producer produce)
        : core(plan, std::move(produce)), abort_(std::move(abort)) {}

    HRESULT STDMETHODCALLTYPE Cancel() override {
        const HRESULT result = core::Cancel();
        abort_->raise();
        return result;
    }

    // Kept, never called: nothing here reports how far a request got.
    HRESULT STDMETHODCALLTYPE put_Progress(progress_handler* handler) override {
        return read(L"HttpClient.PostAsync.put_Progress", [&] { progressHandler_ = rt::com_ptr<progress_handler>::copy_from(handler); });
    }
    HRESULT STDMETHODCALLTYPE get_Progress(progress_handler** handler) override {
        return read(L"HttpClient.PostAsync.get_Progress", [&] { *handler = rt::com_ptr<progress_handler>(progressHandler_).detach(); });
    }

private:
    const std::shared_ptr<abort_signal> abort_;
    rt::com_ptr<progress_handler> progressHandler_;
};

}  // namespace sim
