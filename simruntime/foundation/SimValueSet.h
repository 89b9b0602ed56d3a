#pragma once
// Windows.Foundation.Collections.ValueSet, also for simulated classes that
// hand one out (the user input of an activated toast).
#include <windows.h>
#include <inspectable.h>

#include <string>
#include <utility>
#include <vector>

#include "Collections.h"
#include "ComPtr.h"

namespace sim {

// A new set holding `values`, each key with its value.
rt::com_ptr<rt::IPropertySet> make_value_set(
    const std::vector<std::pair<std::wstring, rt::com_ptr<IInspectable>>>& values = {});

}  // namespace sim
