#pragma once
// The runtime classes this DLL simulates. Each class file registers itself
// with one static class_registration, so adding a class touches no other file.
#include <windows.h>
#include <activation.h>

#include <string>
#include <string_view>
#include <vector>

#include "ComPtr.h"
#include "SimObject.h"

namespace sim {

using factory_maker = rt::com_ptr<IActivationFactory> (*)();

class class_registration {
public:
    class_registration(const wchar_t* className, factory_maker makeFactory);
};

template <class Factory>
rt::com_ptr<IActivationFactory> new_factory() {
    return make<Factory>();
}

// A new factory of the class; empty when no class has that name.
rt::com_ptr<IActivationFactory> make_factory(std::wstring_view className);

std::vector<std::wstring> registered_class_names();

}  // namespace sim
