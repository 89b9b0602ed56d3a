#pragma once
// The skeleton documents Windows hands out for the legacy toast template types
// (ToastNotificationManager::GetTemplateContent): the binding names the
// template, an image element comes first in the image templates, then one
// empty text element per line, with ids 1, 2, 3.
#include <windows.h>

#include <cstdint>

#include "ComPtr.h"
#include "SimRuntimeControl.h"
#include "XmlDom.h"

// Types 0 to 7; E_INVALIDARG for any other. Each call makes a new document.
HRESULT MakeToastTemplateContent(int32_t templateType, rt::IXmlDocument** document);

// Exported by SimRuntime.dll, so that tests get the same skeletons without
// going through the toast manager.
extern "C" SIMRUNTIME_EXPORT HRESULT
    SimRuntime_MakeToastTemplateContent(INT32 templateType, rt::IXmlDocument** document);

namespace sim_control {

inline rt::com_ptr<rt::IXmlDocument> make_toast_template_content(std::int32_t templateType) {
    rt::com_ptr<rt::IXmlDocument> document;
    check(SIM_CONTROL_FUNCTION(SimRuntime_MakeToastTemplateContent)(templateType, document.put()),
          "SimRuntime_MakeToastTemplateContent");
    return document;
}

}  // namespace sim_control
