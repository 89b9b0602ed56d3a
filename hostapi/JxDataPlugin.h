#pragma once
// The client's experiment module "JxDataPlugin.dll", reached by name at run time.
#include <memory>

class IKIVAgentService {
public:
    virtual ~IKIVAgentService() = default;
};

// Export "GetGlobalKIVAgentService": stores the experiment service, or null.
using GetGlobalKIVAgentServiceFn = void (*)(std::shared_ptr<IKIVAgentService>* service);
