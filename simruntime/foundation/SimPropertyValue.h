#pragma once
// Boxed values as Windows.Foundation.PropertyValue makes them, for simulated
// classes that hand out an Object (user input of an activated toast, node values).
#include <windows.h>
#include <inspectable.h>

#include <string_view>

#include "ComPtr.h"
#include "Foundation.h"

namespace sim {

rt::com_ptr<IInspectable> box_string(std::wstring_view text);
rt::com_ptr<IInspectable> box_date_time(rt::DateTime value);

}  // namespace sim
