// The experiment module as the entry module reaches it: through the host's
// PreloadDll, which takes the client's modules from the client's folder only,
// and then through the module's getter.
#include <gtest/gtest.h>

#include <windows.h>

#include <memory>
#include <string>

#include "JxDataPlugin.h"
#include "OrvaleBase.h"
#include "TempFolder.h"
#include "TestProcess.h"

namespace {

std::wstring module_path(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), MAX_PATH));
    return path;
}

bool same_path(const std::wstring& a, const std::wstring& b) {
    return CompareStringOrdinal(a.c_str(), -1, b.c_str(), -1, TRUE) == CSTR_EQUAL;
}

HMODULE preload(const std::wstring& name) { return PreloadDll::GetInstance().GetRelativeDllModuleHandle(name); }

GetGlobalKIVAgentServiceFn plugin_getter() {
    const HMODULE plugin = preload(L"JxDataPlugin.dll");
    if (!plugin) return nullptr;
    return reinterpret_cast<GetGlobalKIVAgentServiceFn>(
        reinterpret_cast<void*>(GetProcAddress(plugin, "GetGlobalKIVAgentService")));
}

// The current directory is where a plain LoadLibrary would also look.
class scoped_current_directory {
public:
    explicit scoped_current_directory(const std::wstring& folder) {
        GetCurrentDirectoryW(MAX_PATH, previous_);
        SetCurrentDirectoryW(folder.c_str());
    }
    scoped_current_directory(const scoped_current_directory&) = delete;
    scoped_current_directory& operator=(const scoped_current_directory&) = delete;
    ~scoped_current_directory() { SetCurrentDirectoryW(previous_); }

private:
    wchar_t previous_[MAX_PATH] = {};
};

}  // namespace

TEST(PreloadDll, TakesClientModulesFromTheClientFolderOnly) {
    const HMODULE plugin = preload(L"JxDataPlugin.dll");
    ASSERT_NE(nullptr, plugin);
    EXPECT_TRUE(same_path(BinaryFolder() + L"\\JxDataPlugin.dll", module_path(plugin)));
    EXPECT_EQ(plugin, preload(L"JxDataPlugin.dll"));
    EXPECT_EQ(plugin, GetModuleHandleW(L"JxDataPlugin.dll"));

    EXPECT_EQ(nullptr, preload(L"JxDataPluginAbsent.dll"));

    TempFolder elsewhere;
    ASSERT_TRUE(CopyFileW((BinaryFolder() + L"\\JxDataPluginNoGetter.dll").c_str(),
                          (elsewhere / L"JxDataPluginElsewhere.dll").c_str(), FALSE));
    const scoped_current_directory current(elsewhere.path());
    EXPECT_EQ(nullptr, preload(L"JxDataPluginElsewhere.dll"));
    // While the system's search would have found it there.
    const HMODULE searched = LoadLibraryW(L"JxDataPluginElsewhere.dll");
    EXPECT_NE(nullptr, searched);
    if (searched) FreeLibrary(searched);
}

TEST(JxDataPlugin, GetterHandsOutTheProcessServiceOrNull) {
    const GetGlobalKIVAgentServiceFn getter = plugin_getter();
    ASSERT_NE(nullptr, getter);
    std::shared_ptr<IKIVAgentService> first, second;
    getter(&first);
    getter(&second);
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(first, second);

    SetEnvironmentVariableW(L"ORVALE_STANDALONE_JX_SERVICE", L"null");
    getter(&second);
    SetEnvironmentVariableW(L"ORVALE_STANDALONE_JX_SERVICE", nullptr);
    EXPECT_EQ(nullptr, second);
}

TEST(JxDataPlugin, VariantWithoutGetterExportsNone) {
    const HMODULE variant = preload(L"JxDataPluginNoGetter.dll");
    ASSERT_NE(nullptr, variant);
    EXPECT_EQ(nullptr, GetProcAddress(variant, "GetGlobalKIVAgentService"));
}
