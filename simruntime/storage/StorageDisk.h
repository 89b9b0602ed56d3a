#pragma once
// The file-system work behind the storage classes, with the errors Windows
// reports for it. Every function throws rt::hresult_error.
#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "Storage.h"

namespace sim {

enum class disk_item { file, folder };

// What is at `path`. Nothing there: ERROR_FILE_NOT_FOUND, or ERROR_PATH_NOT_FOUND
// when a folder on the way is missing.
disk_item existing_item(const std::wstring& path);

// Creates the file `name` in `folder` as `option` says and returns its path.
// A name that is taken fails with ERROR_ALREADY_EXISTS under FailIfExists, and
// also under the other options when a folder holds it.
std::wstring create_file_in(const std::wstring& folder, std::wstring_view name, rt::CreationCollisionOption option);

void delete_file(const std::wstring& path);

// The file's content becomes `bytes`; the file must exist.
void replace_file_bytes(const std::wstring& path, const std::vector<BYTE>& bytes);

std::vector<BYTE> read_file_bytes(const std::wstring& path);

}  // namespace sim
