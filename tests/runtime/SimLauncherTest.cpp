// The simulated Uri and launcher classes, reached as the module reaches them:
// through the system's activation, which finds SimRuntime.dll in the registry.
// The registration tests (tests/jobs) cover launching, the protocol's support
// and the record of launches; here is what they leave out.
#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <utility>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "Foundation.h"
#include "HString.h"
#include "Launcher.h"
#include "LauncherSimControl.h"
#include "TempFolder.h"

namespace {

constexpr wchar_t kLaunchResultVariable[] = L"SIMRUNTIME_LAUNCH_RESULT";

// S_OK and the launch's result, or the code the operation failed with.
std::pair<HRESULT, bool> launch(const wchar_t* text) {
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri)
                  ->CreateUri(rt::hstring(text).get(), uri.put()));
    rt::com_ptr<rt::IAsyncOperation<bool>> operation;
    rt::check(rt::get_activation_factory<rt::ILauncherStatics>(rt::class_name::Launcher)
                  ->LaunchUriAsync(uri.get(), operation.put()));
    try {
        return {S_OK, rt::wait_for_result(operation.get())};
    } catch (const rt::hresult_error& error) {
        return {error.code(), false};
    }
}

class SimLauncher : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
    void TearDown() override { SetEnvironmentVariableW(kLaunchResultVariable, nullptr); }
};

}  // namespace

// The install folder reaches the package percent-encoded as the platform
// encodes components: "Program Files (x86)" and folders of non-ASCII names too.
TEST_F(SimLauncher, EscapesComponentsAsTheSystemDoes) {
    const auto statics = rt::get_activation_factory<rt::IUriEscapeStatics>(rt::class_name::Uri);
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"C:\\Program Files (x86)\\Orvale", L"C%3A%5CProgram%20Files%20%28x86%29%5COrvale"},
        {L"-_.~AZaz09!*'()#\u20ac", L"-_.~AZaz09%21%2A%27%28%29%23%E2%82%AC"},
        {L"az/?\u00fc", L"az%2F%3F%C3%BC"},
    };
    for (const auto& [text, escaped] : cases) {
        rt::hstring result;
        ASSERT_EQ(S_OK, statics->EscapeComponent(rt::hstring(text).get(), result.put()));
        EXPECT_EQ(escaped, result.view());
    }
}

// Host processes are steered through their environment; the job tests use
// "false" only (PackageJobs.UpgradeReportsBothVersionsAndARefusedRegistrationIsNonFatal).
TEST_F(SimLauncher, TheLaunchResultVariableSteersLaunchesAndOnlyTrueOnesAreRecorded) {
    const struct {
        const wchar_t* value;
        HRESULT failure;
        bool launched;
    } steerings[] = {
        {L"false", S_OK, false},
        {L"error:0x80070005", E_ACCESSDENIED, false},
        {L"error:0x00000001", E_INVALIDARG, false},
        {L"maybe", E_INVALIDARG, false},
        {L"true", S_OK, true},
    };
    for (const auto& steering : steerings) {
        SetEnvironmentVariableW(kLaunchResultVariable, steering.value);
        EXPECT_EQ(std::make_pair(steering.failure, steering.launched),
                  launch(L"orvale-notification:?action=register-wakeup-task"))
            << WideToUtf8Text(steering.value);
    }
    EXPECT_EQ(1u, sim_control::launched_uris().size());
}
