#include "ClassTable.h"

#include <functional>
#include <map>

namespace sim {

namespace {

// Filled while the DLL's static objects are constructed, read-only afterwards.
std::map<std::wstring, factory_maker, std::less<>>& classes() {
    static std::map<std::wstring, factory_maker, std::less<>> table;
    return table;
}

}  // namespace

class_registration::class_registration(const wchar_t* className, factory_maker makeFactory) {
    classes().emplace(className, makeFactory);
}

rt::com_ptr<IActivationFactory> make_factory(std::wstring_view className) {
    const auto found = classes().find(className);
    if (found == classes().end()) return nullptr;
    return found->second();
}

std::vector<std::wstring> registered_class_names() {
    std::vector<std::wstring> names;
    for (const auto& entry : classes()) names.push_back(entry.first);
    return names;
}

}  // namespace sim
