// Configuration lookups in a process of their own, so that the executable's
// name, the environment and the lazy first load are those of a host process.
// The arguments are a sequence of operations; each lookup prints one line:
//   get KEY FIELD    the module's reader      -> value
//   host KEY FIELD   the host business library -> value|policy id|experiment name
//   load PATH        the module's reader loads PATH
//   ensure           the module's reader loads the file of this process
#include <windows.h>

#include <cstdio>
#include <string>

#include "Business.h"
#include "HostConfigCache.h"
#include "UtilJx.h"

namespace {
constexpr wchar_t kDefault[] = L"(default)";

void PrintLine(const std::wstring& text) { std::printf("%s\n", UtilJx::Base::Utf16ToUtf8(text).c_str()); }
}  // namespace

int wmain(int argc, wchar_t** argv) {
    HostConfigCache cache;
    for (int i = 1; i < argc; ++i) {
        const std::wstring operation = argv[i];
        if (operation == L"get" && i + 2 < argc) {
            PrintLine(cache.GetStringFromConfigJson(argv[i + 1], argv[i + 2], kDefault));
            i += 2;
        } else if (operation == L"host" && i + 2 < argc) {
            business::ConfigExperimentInfo experiment;
            std::wstring value = business::GetStringFromConfigJson2(argv[i + 1], argv[i + 2], kDefault, &experiment);
            PrintLine(value + L"|" + std::to_wstring(experiment.sGrayPolicyId) + L"|" + experiment.expName);
            i += 2;
        } else if (operation == L"load" && i + 1 < argc) {
            cache.LoadFromFile(argv[++i]);
        } else if (operation == L"ensure") {
            cache.EnsureLoaded();
        } else {
            std::printf("bad operation at argument %d\n", i);
            return 2;
        }
    }
    return 0;
}
