// The simulated launcher and the package table it consults, reached through
// the system's activation as the module reaches them; and the table kept in a
// file, seen by a second process.
#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

#include "Activation.h"
#include "AsyncWait.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "Deployment.h"
#include "Foundation.h"
#include "HString.h"
#include "Launcher.h"
#include "LauncherSimControl.h"
#include "PackageSimControl.h"
#include "TempFolder.h"
#include "TestProcess.h"

namespace {

using rt::LaunchQuerySupportStatus;

constexpr wchar_t kPackageTableFileVariable[] = L"SIMRUNTIME_PACKAGE_TABLE_FILE";

const sim_control::package_registration kNotificationPackage{
    L"4E7A21C9.store", L"CN=6F2B1D40-8C3E-4A7B-9D15-2E8F0C4A7B31",
    L"4E7A21C9.store_1.0.3.0_x64__6f2b1d40", 1, 0, 3, 0};

// Set for this process until the end of the scope.
class scoped_variable {
public:
    scoped_variable(const wchar_t* name, const std::wstring& value) : name_(name) {
        SetEnvironmentVariableW(name, value.c_str());
    }
    scoped_variable(const scoped_variable&) = delete;
    scoped_variable& operator=(const scoped_variable&) = delete;
    ~scoped_variable() { SetEnvironmentVariableW(name_, nullptr); }

private:
    const wchar_t* name_;
};

rt::com_ptr<rt::IUriRuntimeClass> make_uri(const std::wstring& text) {
    const auto factory = rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(factory->CreateUri(rt::hstring(text).get(), uri.put()));
    return uri;
}

std::wstring escape_component(const std::wstring& text) {
    const auto statics = rt::get_activation_factory<rt::IUriEscapeStatics>(rt::class_name::Uri);
    rt::hstring escaped;
    rt::check(statics->EscapeComponent(rt::hstring(text).get(), escaped.put()));
    return escaped.str();
}

LaunchQuerySupportStatus query_support(const std::wstring& uri,
                                       rt::LaunchQuerySupportType type = rt::LaunchQuerySupportType::Uri) {
    const auto statics = rt::get_activation_factory<rt::ILauncherStatics2>(rt::class_name::Launcher);
    rt::com_ptr<rt::LaunchQuerySupportOperation> operation;
    rt::check(statics->QueryUriSupportAsync(make_uri(uri).get(), type, operation.put()));
    return rt::wait_for_result(operation.get());
}

// The launch's result; throws rt::hresult_error when the operation failed.
bool launch(const std::wstring& uri) {
    const auto statics = rt::get_activation_factory<rt::ILauncherStatics>(rt::class_name::Launcher);
    rt::com_ptr<rt::IAsyncOperation<bool>> operation;
    rt::check(statics->LaunchUriAsync(make_uri(uri).get(), operation.put()));
    return rt::wait_for_result(operation.get());
}

HRESULT launch_failure(const std::wstring& uri) {
    try {
        launch(uri);
        return S_OK;
    } catch (const rt::hresult_error& error) {
        return error.code();
    }
}

void remove_package(const std::wstring& fullName) {
    const auto manager = rt::activate_instance<rt::IPackageManager>(rt::class_name::PackageManager);
    rt::com_ptr<rt::DeploymentOperation> operation;
    rt::check(manager->RemovePackageAsync(rt::hstring(fullName).get(), operation.put()));
    rt::wait_for_result(operation.get());
}

std::size_t registrations_of(const sim_control::package_registration& package) {
    const auto manager = rt::activate_instance<rt::IPackageManager>(rt::class_name::PackageManager);
    rt::com_ptr<rt::IIterable<rt::Package>> packages;
    rt::check(manager->FindPackagesByUserSecurityIdNamePublisher(
        rt::hstring(L"").get(), rt::hstring(package.name).get(), rt::hstring(package.publisher).get(), packages.put()));
    rt::com_ptr<rt::IIterator<rt::Package>> position;
    rt::check(packages->First(position.put()));
    std::size_t count = 0;
    for (boolean more = 0; SUCCEEDED(position->get_HasCurrent(&more)) && more; position->MoveNext(&more)) ++count;
    return count;
}

class SimLauncher : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
};

constexpr wchar_t kRegistrationUri[] = L"orvale-notification:?action=register-wakeup-task";

}  // namespace

TEST_F(SimLauncher, ProtocolIsAvailableExactlyWhileTheNotificationPackageIsRegistered) {
    EXPECT_EQ(LaunchQuerySupportStatus::AppUnavailable, query_support(kRegistrationUri));

    sim_control::register_package(kNotificationPackage);
    EXPECT_EQ(LaunchQuerySupportStatus::Available, query_support(kRegistrationUri));
    EXPECT_EQ(LaunchQuerySupportStatus::Available, query_support(L"ORVALE-Notification:?action=x"));
    EXPECT_EQ(LaunchQuerySupportStatus::AppUnavailable,
              query_support(kRegistrationUri, rt::LaunchQuerySupportType::UriForResults));
    EXPECT_EQ(LaunchQuerySupportStatus::AppUnavailable, query_support(L"https://example.com/"));

    remove_package(kNotificationPackage.fullName);
    EXPECT_EQ(LaunchQuerySupportStatus::AppUnavailable, query_support(kRegistrationUri));
}

TEST_F(SimLauncher, OtherSchemesAnswerAsSteered) {
    sim_control::set_uri_scheme_support(L"HTTPS", static_cast<int>(LaunchQuerySupportStatus::Available));
    sim_control::set_uri_scheme_support(L"orvale-notification",
                                        static_cast<int>(LaunchQuerySupportStatus::NotSupported));
    EXPECT_EQ(LaunchQuerySupportStatus::Available, query_support(L"https://example.com/"));
    EXPECT_EQ(LaunchQuerySupportStatus::NotSupported, query_support(kRegistrationUri));
    EXPECT_EQ(LaunchQuerySupportStatus::AppUnavailable, query_support(L"mailto:someone@example.com"));
}

// The install folder reaches the package percent-encoded as the platform
// encodes components, and the launch also lands in the file host processes use.
TEST_F(SimLauncher, LaunchRecordsTheUriTheHandlerReceives) {
    const std::wstring escaped = escape_component(L"C:\\Program Files\\Orvale");
    EXPECT_EQ(L"C%3A%5CProgram%20Files%5COrvale", escaped);
    EXPECT_EQ(L"-_.~AZaz09%21%2A%27%28%29%23%E2%82%AC", escape_component(L"-_.~AZaz09!*'()#\u20ac"));

    TempFolder folder;
    const scoped_variable launchedFile(L"SIMRUNTIME_LAUNCHED_URIS_FILE", folder / L"launched.txt");
    const std::wstring uri = std::wstring(kRegistrationUri) + L"&install_dir=" + escaped;
    EXPECT_TRUE(launch(uri));
    EXPECT_TRUE(launch(L"orvale-notification:?action=r\u00e9"));

    EXPECT_EQ((std::vector<std::wstring>{uri, L"orvale-notification:?action=r\u00e9"}), sim_control::launched_uris());
    EXPECT_EQ(WideToUtf8Text(uri) + "\norvale-notification:?action=r\xC3\xA9\n",
              ReadFileBytes(folder / L"launched.txt"));
}

TEST_F(SimLauncher, SteeredLaunchesYieldFalseOrFailAndAreNotRecorded) {
    sim_control::set_launch_result(false);
    EXPECT_FALSE(launch(kRegistrationUri));
    sim_control::set_launch_failure(E_ACCESSDENIED);
    EXPECT_EQ(E_ACCESSDENIED, launch_failure(kRegistrationUri));
    EXPECT_TRUE(sim_control::launched_uris().empty());

    // Host processes are steered through their environment; a test's own steering wins.
    sim_control::reset();
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
        const scoped_variable result(L"SIMRUNTIME_LAUNCH_RESULT", steering.value);
        if (SUCCEEDED(steering.failure)) {
            EXPECT_EQ(steering.launched, launch(kRegistrationUri)) << WideToUtf8Text(steering.value);
        } else {
            EXPECT_EQ(steering.failure, launch_failure(kRegistrationUri)) << WideToUtf8Text(steering.value);
        }
    }
    EXPECT_EQ(1u, sim_control::launched_uris().size());

    const scoped_variable result(L"SIMRUNTIME_LAUNCH_RESULT", L"false");
    sim_control::set_launch_result(true);
    EXPECT_TRUE(launch(kRegistrationUri));
}

// As on Windows, what one process registers another one sees and can remove.
TEST(SimPackageTableFile, RegistrationsOutliveTheProcessThatMadeThem) {
    TempFolder folder;
    const std::wstring tableFile = folder / L"packages.txt";
    const scoped_variable variable(kPackageTableFileVariable, tableFile);
    sim_control::reset();
    sim_control::register_package(kNotificationPackage);
    sim_control::register_package({L"Other", L"CN=Other", L"Other_2.0.0.0_x64__o", 2});

    const std::wstring probe = L"\"" + BinaryFolder() + L"\\SimPackageProbe.exe\" ";
    const ProcessResult removed =
        RunProcess(probe + kNotificationPackage.fullName, {{kPackageTableFileVariable, tableFile}});
    EXPECT_NE(std::string::npos, removed.output.find("hr=0x00000000")) << removed.output;
    EXPECT_EQ(0u, registrations_of(kNotificationPackage));
    EXPECT_EQ(1u, registrations_of({L"Other", L"CN=Other"}));
    EXPECT_EQ(LaunchQuerySupportStatus::AppUnavailable, query_support(kRegistrationUri));

    const ProcessResult again =
        RunProcess(probe + kNotificationPackage.fullName, {{kPackageTableFileVariable, tableFile}});
    EXPECT_NE(std::string::npos, again.output.find("hr=0x80073CF1")) << again.output;  // package not found
}
