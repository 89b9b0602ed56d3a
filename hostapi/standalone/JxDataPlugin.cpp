// Stand-alone experiment module "JxDataPlugin.dll". The service it hands out
// holds no experiments: callers only probe for its presence. Setting
// ORVALE_STANDALONE_JX_SERVICE to "null" makes the getter hand out none, as the
// client does before its experiment service has started.
#include <windows.h>

#include <memory>

#include "JxDataPlugin.h"
#include "StandaloneSettings.h"

namespace {

class StandaloneKivAgentService final : public IKIVAgentService {};

}  // namespace

extern "C" __declspec(dllexport) void GetGlobalKIVAgentService(std::shared_ptr<IKIVAgentService>* service) {
    if (!service) return;
    if (standalone::ReadVariable(standalone::kJxServiceVariable).value_or(L"") == L"null") {
        service->reset();
        return;
    }
    // One service per process, as the client's is.
    static const auto global = std::make_shared<StandaloneKivAgentService>();
    *service = global;
}
