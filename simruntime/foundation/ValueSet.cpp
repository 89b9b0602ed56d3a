// Windows.Foundation.Collections.ValueSet: a map from strings to objects.
// Only the map itself is simulated; nothing here observes or iterates it.
#include <windows.h>

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "ClassNames.h"
#include "ClassTable.h"
#include "HString.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "SimValueSet.h"

namespace {

using string_object_map = rt::IMap<HSTRING, IInspectable>;

class value_set final : public sim::object<value_set, rt::IPropertySet, string_object_map> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::ValueSet;

    explicit value_set(std::map<std::wstring, rt::com_ptr<IInspectable>> values) : values_(std::move(values)) {}

    HRESULT STDMETHODCALLTYPE Lookup(HSTRING key, IInspectable** value) override {
        if (!value) return E_POINTER;
        *value = nullptr;
        return run_call(L"ValueSet.Lookup", rt::view_of(key), [&]() -> HRESULT {
            std::lock_guard lock(mutex_);
            const auto found = values_.find(rt::to_wstring(key));
            if (found == values_.end()) return sim::out_of_bounds;
            *value = rt::com_ptr<IInspectable>(found->second).detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) override {
        if (!size) return E_POINTER;
        return run_call(L"ValueSet.get_Size", L"", [&] {
            std::lock_guard lock(mutex_);
            *size = static_cast<UINT32>(values_.size());
        });
    }
    HRESULT STDMETHODCALLTYPE HasKey(HSTRING key, boolean* found) override {
        if (!found) return E_POINTER;
        return run_call(L"ValueSet.HasKey", rt::view_of(key), [&] {
            std::lock_guard lock(mutex_);
            *found = values_.count(rt::to_wstring(key)) != 0 ? 1 : 0;
        });
    }
    HRESULT STDMETHODCALLTYPE GetView(rt::IMapView<HSTRING, IInspectable>** view) override {
        if (view) *view = nullptr;
        return not_simulated(L"ValueSet.GetView");
    }
    HRESULT STDMETHODCALLTYPE Insert(HSTRING key, IInspectable* value, boolean* replaced) override {
        if (!replaced) return E_POINTER;
        return run_call(L"ValueSet.Insert", rt::view_of(key), [&] {
            std::lock_guard lock(mutex_);
            const auto [where, inserted] =
                values_.insert_or_assign(rt::to_wstring(key), rt::com_ptr<IInspectable>::copy_from(value));
            *replaced = inserted ? 0 : 1;
        });
    }
    HRESULT STDMETHODCALLTYPE Remove(HSTRING key) override {
        return run_call(L"ValueSet.Remove", rt::view_of(key), [&]() -> HRESULT {
            std::lock_guard lock(mutex_);
            return values_.erase(rt::to_wstring(key)) != 0 ? S_OK : sim::out_of_bounds;
        });
    }
    HRESULT STDMETHODCALLTYPE Clear() override {
        return run_call(L"ValueSet.Clear", L"", [&] {
            std::lock_guard lock(mutex_);
            values_.clear();
        });
    }

private:
    std::mutex mutex_;
    std::map<std::wstring, rt::com_ptr<IInspectable>> values_;
};

class value_set_factory final : public sim::activation_factory<value_set_factory> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::ValueSet;

    HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable** instance) override {
        if (!instance) return E_POINTER;
        *instance = nullptr;
        return run_call(L"ValueSet.ActivateInstance", L"", [&] { *instance = sim::make_value_set().detach(); });
    }
};

const sim::class_registration registration{rt::class_name::ValueSet, &sim::new_factory<value_set_factory>};

}  // namespace

namespace sim {

rt::com_ptr<rt::IPropertySet> make_value_set(
    const std::vector<std::pair<std::wstring, rt::com_ptr<IInspectable>>>& values) {
    return make<value_set>(std::map<std::wstring, rt::com_ptr<IInspectable>>(values.begin(), values.end()));
}

}  // namespace sim
