#include "QuorvelReportFiles.h"

#include <windows.h>

namespace quorvel {

namespace {
std::size_t AfterLastSeparator(std::wstring_view path) {
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator == std::wstring_view::npos ? 0 : separator + 1;
}
}  // namespace

std::wstring FileNameOf(std::wstring_view path) { return std::wstring(path.substr(AfterLastSeparator(path))); }

std::wstring FolderOf(std::wstring_view path) { return std::wstring(path.substr(0, AfterLastSeparator(path))); }

std::wstring StemOf(std::wstring_view path) {
    const std::wstring name = FileNameOf(path);
    const std::size_t dot = name.rfind(L'.');
    return dot == std::wstring::npos ? name : name.substr(0, dot);
}

bool IsClaimedName(std::wstring_view fileName) {
    return fileName.size() >= kClaimMarkerLength && fileName.find(kClaimMarker) != std::wstring_view::npos;
}

std::string NarrowFileName(const std::wstring& name) {
    if (name.empty()) return {};
    const int length =
        WideCharToMultiByte(CP_ACP, 0, name.data(), static_cast<int>(name.size()), nullptr, 0, nullptr, nullptr);
    if (length <= 0) return {};
    std::string narrow(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_ACP, 0, name.data(), static_cast<int>(name.size()), narrow.data(), length, nullptr, nullptr);
    return narrow;
}

}  // namespace quorvel
