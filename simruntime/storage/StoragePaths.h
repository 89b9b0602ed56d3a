#pragma once
// The path and name rules of the storage classes, as text: which paths they
// accept, how an item reports its path and name, which names a folder can
// create, and the names GenerateUniqueName tries.
#include <string>
#include <string_view>

namespace sim {

// A path the storage classes accept: "C:\..." or "\\server\share\...", with
// backslashes only. Anything else is refused with E_INVALIDARG.
bool is_full_storage_path(std::wstring_view path);

// `path` with "." and ".." resolved and no trailing backslash (a drive root
// keeps its own); throws E_INVALIDARG for a path the storage classes refuse.
std::wstring storage_path(std::wstring_view path);

// The last part of a storage path; a drive root is its own name.
std::wstring item_name(std::wstring_view path);

// A name a file can be created under: no separators, no wildcards or other
// reserved characters, not "." or "..". Empty names are E_INVALIDARG, the rest
// ERROR_INVALID_NAME; throws.
void check_item_name(std::wstring_view name);

std::wstring child_path(std::wstring_view folder, std::wstring_view name);

// "report (2).txt" for ("report.txt", 2): the number goes before the extension.
std::wstring numbered_name(std::wstring_view name, unsigned number);

}  // namespace sim
