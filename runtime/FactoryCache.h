#pragma once
// Activation factories kept for the life of the process. Fetching a factory
// again is a registry lookup and a call into the class's DLL each time, and
// a report's road fetches several per report; an agile factory ("IAgileObject
// interface": "free threaded and can be called from any apartment") serves
// every later call from any thread once it is fetched. A factory that is not
// agile belongs to the apartment that fetched it, so it is fetched anew.
// Agility alone is not enough: the code behind the factory stays loaded only
// as long as the apartment it was fetched in, so rt::get_activation_factory
// offers only factories fetched in the multithreaded apartment while the
// process holds it (Apartment.h).
#include <windows.h>
#include <objidl.h>

#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "ComPtr.h"
#include "Guid.h"

namespace rt {

class factory_cache {
public:
    // Never destroyed: a pool thread may still activate while the process exits.
    static factory_cache& process() {
        static auto* const cache = new factory_cache;
        return *cache;
    }

    template <class I>
    com_ptr<I> find(const wchar_t* className) {
        std::lock_guard lock(mutex_);
        const auto found = factories_.find(key{className, iid_of<I>});
        if (found == factories_.end()) return {};
        return com_ptr<I>::copy_from(static_cast<I*>(found->second));
    }

    // Keeps `factory` when it is agile. The reference is never released: at
    // process exit the class's DLL may be gone before this cache is.
    template <class I>
    void keep_if_agile(const wchar_t* className, const com_ptr<I>& factory) {
        com_ptr<IAgileObject> agile;
        if (FAILED(factory->QueryInterface(iid_of<IAgileObject>, agile.put_void()))) return;
        std::lock_guard lock(mutex_);
        const auto [entry, added] = factories_.try_emplace(key{className, iid_of<I>}, factory.get());
        if (added) entry->second->AddRef();
    }

private:
    struct key {
        std::wstring className;
        GUID iid;
        bool operator<(const key& other) const {
            if (className != other.className) return className < other.className;
            return std::memcmp(&iid, &other.iid, sizeof(GUID)) < 0;
        }
    };

    factory_cache() = default;

    std::mutex mutex_;
    std::map<key, IUnknown*> factories_;
};

}  // namespace rt
