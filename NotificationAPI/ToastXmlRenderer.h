#pragma once
// Turns a notification_template into the toast's XML document by editing, in
// place, the skeleton Windows supplies for the template's legacy type.
#include <cstdint>
#include <functional>

#include "ComPtr.h"
#include "NotificationTemplate.h"
#include "XmlDom.h"

namespace notification_wrapper {

// The skeleton document of a ToastTemplateType.
using toast_skeleton_supplier = std::function<rt::com_ptr<rt::IXmlDocument>(int32_t template_type)>;

// `flags` are toast_capability bits; `build_number` decides the hero image and
// the circle crop. Throws rt::hresult_error with the first failing call's code,
// or E_FAIL when the skeleton lacks a text element for a line.
rt::com_ptr<rt::IXmlDocument> render_toast_xml(const notification_template& toast, uint32_t flags,
                                               uint32_t build_number, const toast_skeleton_supplier& skeleton);

// The same over Windows' own skeleton and the running system's build.
rt::com_ptr<rt::IXmlDocument> render_toast_xml(const notification_template& toast, uint32_t flags);

}  // namespace notification_wrapper
