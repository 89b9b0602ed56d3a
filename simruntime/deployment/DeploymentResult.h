#pragma once
// Windows.Management.Deployment.DeploymentResult: what a finished package
// operation reports.
#include <windows.h>

#include <string>

#include "ComPtr.h"
#include "Deployment.h"

namespace sim {

struct deployment_report {
    bool isRegistered = true;
    HRESULT extendedErrorCode = S_OK;
    std::wstring errorText;
};

rt::com_ptr<rt::IDeploymentResult> make_deployment_result(const deployment_report& report);

}  // namespace sim
