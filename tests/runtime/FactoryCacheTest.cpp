// Activation factories are fetched once per process and class interface, and
// a kept factory serves threads that never joined an apartment themselves.
#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <thread>
#include <vector>

#include "Activation.h"
#include "ClassNames.h"
#include "Foundation.h"
#include "HString.h"
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
