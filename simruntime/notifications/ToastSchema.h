#pragma once
// What the notification centre does not understand in a toast's markup. The
// platform still shows such a toast; it renders what it understands and
// ignores the rest, so nothing tells the sender. The centre records it.
#include <string>
#include <vector>

#include "XmlDom.h"

namespace sim {

// One entry per ignored piece, e.g. `image hint_crop="circle": no such attribute`,
// in document order; empty when the markup keeps to the schema.
std::vector<std::wstring> ignored_toast_markup(rt::IXmlDocument* content);

}  // namespace sim
