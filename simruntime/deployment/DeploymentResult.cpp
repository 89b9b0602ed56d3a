#include "DeploymentResult.h"

#include <objbase.h>

#include <utility>

#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"

namespace {

class deployment_result final
    : public sim::object<deployment_result, rt::IDeploymentResult, rt::IDeploymentResult2> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.Management.Deployment.DeploymentResult";

    explicit deployment_result(sim::deployment_report report) : report_(std::move(report)) {
        CoCreateGuid(&activityId_);
    }

    HRESULT STDMETHODCALLTYPE get_ErrorText(HSTRING* value) override {
        return text_result(L"DeploymentResult.get_ErrorText", report_.errorText, value);
    }
    HRESULT STDMETHODCALLTYPE get_ActivityId(GUID* value) override {
        if (!value) return E_POINTER;
        return run_call(L"DeploymentResult.get_ActivityId", L"", [&] { *value = activityId_; });
    }
    HRESULT STDMETHODCALLTYPE get_ExtendedErrorCode(HRESULT* value) override {
        if (!value) return E_POINTER;
        return run_call(L"DeploymentResult.get_ExtendedErrorCode", L"",
                        [&] { *value = report_.extendedErrorCode; });
    }
    HRESULT STDMETHODCALLTYPE get_IsRegistered(boolean* value) override {
        if (!value) return E_POINTER;
        return run_call(L"DeploymentResult.get_IsRegistered", L"", [&] { *value = report_.isRegistered; });
    }

private:
    const sim::deployment_report report_;
    GUID activityId_{};
};

}  // namespace

namespace sim {

rt::com_ptr<rt::IDeploymentResult> make_deployment_result(const deployment_report& report) {
    return make<deployment_result>(report);
}

}  // namespace sim
