#include "PackageTableFile.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

#include "EnvironmentVariable.h"
#include "PackageStatus.h"
#include "RuntimeError.h"

namespace {

constexpr wchar_t kTableFileVariable[] = L"SIMRUNTIME_PACKAGE_TABLE_FILE";
// One identity a line: kind, name, publisher, full name, version and, for a
// registration that is not OK, its states ("Tampered,Disabled"), separated by tabs.
constexpr wchar_t kRegisteredKind[] = L"registered";
constexpr wchar_t kInFileKind[] = L"in-file";

std::optional<std::wstring> table_file_path() { return sim::environment_variable(kTableFileVariable); }

struct file_closer {
    void operator()(FILE* file) const { fclose(file); }
};
using unique_file = std::unique_ptr<FILE, file_closer>;

unique_file open_file(const std::wstring& path, const wchar_t* mode) {
    FILE* file = nullptr;
    if (_wfopen_s(&file, path.c_str(), mode) != 0) return nullptr;
    return unique_file(file);
}

std::wstring read_text(const std::wstring& path) {
    const unique_file file = open_file(path, L"rb");
    if (!file) return {};
    std::string bytes;
    char chunk[4096];
    for (std::size_t read; (read = fread(chunk, 1, sizeof chunk, file.get())) > 0;) bytes.append(chunk, read);
    std::wstring text(bytes.size(), L'\0');
    text.resize(MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(),
                                    static_cast<int>(text.size())));
    return text;
}

void write_text_atomically(const std::wstring& path, std::wstring_view text) {
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                     static_cast<int>(bytes.size()), nullptr, nullptr));
    // Per process, so two writers never share the file written aside.
    const std::wstring aside = path + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    {
        const unique_file file = open_file(aside, L"wb");
        if (!file) throw rt::hresult_error(HRESULT_FROM_WIN32(ERROR_OPEN_FAILED));
        if (fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
            throw rt::hresult_error(HRESULT_FROM_WIN32(ERROR_WRITE_FAULT));
        }
    }
    if (!MoveFileExW(aside.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        const HRESULT failure = HRESULT_FROM_WIN32(GetLastError());
        DeleteFileW(aside.c_str());
        throw rt::hresult_error(failure);
    }
}

void write_line(std::wostringstream& out, const wchar_t* kind, const sim::package_identity& identity) {
    const rt::PackageVersion& v = identity.version;
    out << kind << L'\t' << identity.name << L'\t' << identity.publisher << L'\t' << identity.fullName << L'\t'
        << v.Major << L'.' << v.Minor << L'.' << v.Build << L'.' << v.Revision;
    if (identity.states != 0) out << L'\t' << sim::package_state_names(identity.states);
    out << L'\n';
}

// Lines without the five fields, or with states the table does not know, are skipped.
void read_line(const std::wstring& line, sim::stored_packages& packages) {
    std::wistringstream in(line);
    std::wstring kind, version, states;
    sim::package_identity identity;
    if (!std::getline(in, kind, L'\t') || !std::getline(in, identity.name, L'\t') ||
        !std::getline(in, identity.publisher, L'\t') || !std::getline(in, identity.fullName, L'\t') ||
        !std::getline(in, version, L'\t')) {
        return;
    }
    rt::PackageVersion& v = identity.version;
    if (std::swscanf(version.c_str(), L"%hu.%hu.%hu.%hu", &v.Major, &v.Minor, &v.Build, &v.Revision) != 4) return;
    std::getline(in, states);
    const auto known = sim::package_states_from_names(states);
    if (!known) return;
    identity.states = *known;
    if (kind == kRegisteredKind) packages.registered.push_back(std::move(identity));
    if (kind == kInFileKind) packages.inFile = std::move(identity);
}

}  // namespace

namespace sim {

std::optional<stored_packages> load_stored_packages() {
    const auto path = table_file_path();
    if (!path) return std::nullopt;
    stored_packages packages;
    std::wistringstream in(read_text(*path));
    for (std::wstring line; std::getline(in, line);) read_line(line, packages);
    return packages;
}

void store_packages(const stored_packages& packages) {
    const auto path = table_file_path();
    if (!path) return;
    std::wostringstream out;
    if (packages.inFile) write_line(out, kInFileKind, *packages.inFile);
    for (const auto& identity : packages.registered) write_line(out, kRegisteredKind, identity);
    write_text_atomically(*path, out.str());
}

}  // namespace sim
