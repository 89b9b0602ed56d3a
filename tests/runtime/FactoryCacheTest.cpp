// Activation factories are fetched once per process and class interface, and
// a kept factory serves threads that never joined an apartment themselves.
// Only agile factories fetched in the multithreaded apartment are kept.
#include <gtest/gtest.h>

#include <windows.h>
#include <objbase.h>

#include <string>
#include <thread>
#include <vector>

#include "Activation.h"
#include "ClassNames.h"
#include "Foundation.h"
#include "HString.h"
#include "Launcher.h"
#include "SimRuntimeControl.h"

namespace {

std::wstring AbsoluteUriThroughFactory(const wchar_t* text) {
    const auto factory = rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(factory->CreateUri(rt::hstring(text).get(), uri.put()));
    rt::hstring absolute;
    rt::check(uri->get_AbsoluteUri(absolute.put()));
    return std::wstring(rt::view_of(absolute.get()));
}

}  // namespace

TEST(FactoryCache, AFactoryIsFetchedOnceAndServesEveryThreadAndEachInterfaceApart) {
    const std::size_t fetchesBefore = sim_control::call_count(L"Uri.GetActivationFactory");
    EXPECT_EQ(AbsoluteUriThroughFactory(L"https://a.example/x"), L"https://a.example/x");

    std::vector<std::wstring> results(4);
    std::vector<std::thread> threads;
    for (std::size_t index = 0; index < results.size(); ++index) {
        threads.emplace_back([&results, index] {
            try {
                results[index] = AbsoluteUriThroughFactory(L"https://b.example/y");
            } catch (const rt::hresult_error& error) {
                results[index] = L"failed " + std::to_wstring(error.code());
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& result : results) EXPECT_EQ(result, L"https://b.example/y");
    EXPECT_LE(sim_control::call_count(L"Uri.GetActivationFactory") - fetchesBefore, 1U);

    // The same class asked for another interface: a factory kept under the
    // class name alone would answer with the wrong table of methods.
    const auto escape = rt::get_activation_factory<rt::IUriEscapeStatics>(rt::class_name::Uri);
    rt::hstring escaped;
    ASSERT_EQ(escape->EscapeComponent(rt::hstring(L"a b").get(), escaped.put()), S_OK);
    EXPECT_EQ(rt::view_of(escaped.get()), L"a%20b");
}

// The launcher is not agile: its statics belong to the apartment that fetched
// them, so a kept one would be called from apartments it does not belong to.
TEST(FactoryCache, ANonAgileFactoryIsFetchedForEveryCall) {
    const std::size_t fetchesBefore = sim_control::call_count(L"Launcher.GetActivationFactory");
    for (int call = 0; call < 2; ++call) {
        EXPECT_TRUE(rt::get_activation_factory<rt::ILauncherStatics>(rt::class_name::Launcher));
    }
    EXPECT_EQ(sim_control::call_count(L"Launcher.GetActivationFactory") - fetchesBefore, 2U);
}

// A client's thread in a single-threaded apartment: what it fetches is unloaded
// with its apartment, so it is never kept, and a later thread fetches its own.
TEST(FactoryCache, AThreadInASingleThreadedApartmentFetchesForEveryCall) {
    const std::size_t fetchesBefore = sim_control::call_count(L"Uri.GetActivationFactory");
    std::thread client([] {
        ASSERT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
        EXPECT_EQ(AbsoluteUriThroughFactory(L"https://a.example/x"), L"https://a.example/x");
        EXPECT_EQ(AbsoluteUriThroughFactory(L"https://a.example/y"), L"https://a.example/y");
        CoUninitialize();
    });
    client.join();
    EXPECT_EQ(sim_control::call_count(L"Uri.GetActivationFactory") - fetchesBefore, 2U);

    EXPECT_EQ(AbsoluteUriThroughFactory(L"https://b.example/z"), L"https://b.example/z");
    EXPECT_EQ(sim_control::call_count(L"Uri.GetActivationFactory") - fetchesBefore, 3U);
}
