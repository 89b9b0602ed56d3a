// The simulation's COM rules, each met by the call a faulty caller makes, so they cannot go lenient unseen.
// Factories come from RoGetActivationFactory, not the module's cache, in a process per test: no hold is in the way.
#include <gtest/gtest.h>

#include <windows.h>
#include <objbase.h>
#include <roapi.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "ClassNames.h"
#include "ComPtr.h"
#include "Foundation.h"
#include "HString.h"
#include "Launcher.h"
#include "RuntimeError.h"
#include "SimulationTest.h"

namespace {

// On a thread of its own in an apartment of `model`, left before this returns.
template <class Work>
void RunInApartment(COINIT model, Work&& work) {
    std::thread thread([&] {
        ASSERT_EQ(S_OK, CoInitializeEx(nullptr, model));
        work();
        CoUninitialize();
    });
    thread.join();
}

template <class I>
rt::com_ptr<I> Factory(const wchar_t* className) {
    rt::com_ptr<I> factory;
    rt::check(RoGetActivationFactory(rt::hstring(className).get(), rt::iid_of<I>, factory.put_void()));
    return factory;
}

rt::com_ptr<rt::IUriRuntimeClass> MakeUri(rt::IUriRuntimeClassFactory* factory, HRESULT expected = S_OK) {
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    EXPECT_EQ(expected, factory->CreateUri(rt::hstring(L"orvale-notification:?action=test").get(), uri.put()));
    return uri;
}

// Exactly one violation was recorded, of this kind and method; taken, so it does not fail the test.
bool TookViolation(std::wstring_view kind, std::wstring_view method) {
    const std::vector<std::wstring> taken = sim_control::take_violations();
    return taken.size() == 1 && taken[0].rfind(std::wstring(kind) + L": " + std::wstring(method) + L" ", 0) == 0;
}

using ApartmentRules = SimulationTest;
}  // namespace

// A factory kept after every thread of the multithreaded apartment left it, and an
// object of a single-threaded apartment that left COM while the multithreaded one lives on.
TEST_F(ApartmentRules, AnObjectOfAnApartmentThatEndedIsDead) {
    rt::com_ptr<rt::IUriRuntimeClassFactory> factory;
    RunInApartment(COINIT_MULTITHREADED, [&] { factory = Factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri); });
    RunInApartment(COINIT_MULTITHREADED, [&] {
        MakeUri(factory.get(), CO_E_OBJNOTCONNECTED);
        EXPECT_TRUE(TookViolation(L"use after unload", L"Uri.CreateUri"));

        rt::com_ptr<rt::IUriRuntimeClass> uri;
        RunInApartment(COINIT_APARTMENTTHREADED,
                       [&] { uri = MakeUri(Factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri).get()); });
        rt::hstring scheme;
        EXPECT_EQ(CO_E_OBJNOTCONNECTED, uri->get_SchemeName(scheme.put()));
        EXPECT_TRUE(TookViolation(L"use after unload", L"Uri.get_SchemeName"));
    });
}

// The launcher's statics are not agile (no IAgileObject, so no cache keeps them) and are refused
// from another apartment; an agile class's factory serves any.
TEST_F(ApartmentRules, ANonAgileObjectIsCalledOnlyFromItsOwnApartment) {
    RunInApartment(COINIT_APARTMENTTHREADED, [] {
        const auto launcher = Factory<rt::ILauncherStatics2>(rt::class_name::Launcher);
        const auto uris = Factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
        const auto uri = MakeUri(uris.get());
        EXPECT_FALSE(launcher.TryAs<IAgileObject>());
        rt::com_ptr<rt::LaunchQuerySupportOperation> operation;
        RunInApartment(COINIT_MULTITHREADED, [&] {
            EXPECT_EQ(RPC_E_WRONG_THREAD,
                      launcher->QueryUriSupportAsync(uri.get(), rt::LaunchQuerySupportType::Uri, operation.put()));
            EXPECT_TRUE(TookViolation(L"wrong apartment", L"Launcher.QueryUriSupportAsync"));
            MakeUri(uris.get());
        });
        EXPECT_EQ(S_OK, launcher->QueryUriSupportAsync(uri.get(), rt::LaunchQuerySupportType::Uri, operation.put()));
    });
}
