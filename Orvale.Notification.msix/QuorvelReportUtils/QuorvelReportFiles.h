#pragma once
// Names and paths of report files.
#include <string>
#include <string_view>

namespace quorvel {

inline constexpr wchar_t kClaimMarker[] = L".uploading.";
inline constexpr std::size_t kClaimMarkerLength = 11;

// The part after the last separator ("\\" or "/").
std::wstring FileNameOf(std::wstring_view path);
// The part up to and including the last separator.
std::wstring FolderOf(std::wstring_view path);
// The file name without its last extension.
std::wstring StemOf(std::wstring_view path);
// True for a name that carries the claim marker.
bool IsClaimedName(std::wstring_view fileName);
// A file name as the process's file-system code page spells it.
std::string NarrowFileName(const std::wstring& name);

}  // namespace quorvel
