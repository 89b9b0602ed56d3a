#pragma once
// What deleting a storage item does with it, by option and location.
#include <string>

#include "Storage.h"

namespace sim {

// Deletes the file at `path` (a storage path) as DeleteAsync with `option`
// does: for good, or into the recycle folder of its volume, recorded for the
// tests. Throws rt::hresult_error.
void delete_storage_file(const std::wstring& path, rt::StorageDeleteOption option);

}  // namespace sim
