// The apartment of a thread that never initialised COM and activates while
// another thread keeps the multithreaded apartment alive: it must stay in the
// apartment when that thread leaves. Runs in a process of its own (CTest), as
// the usage the activation takes lasts for the process. (Wine 8 still reports
// the implicit qualifier after CoIncrementMTAUsage, so only the apartment
// itself is checked.)
#include <gtest/gtest.h>

#include <windows.h>
#include <objbase.h>

#include <future>
#include <thread>

#include "Activation.h"
#include "ClassNames.h"
#include "Foundation.h"
#include "HString.h"

namespace {

struct Apartment {
    HRESULT result = E_FAIL;
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
};

Apartment CurrentApartment() {
    Apartment apartment;
    apartment.result = CoGetApartmentType(&apartment.type, &apartment.qualifier);
    return apartment;
}

::testing::AssertionResult InMultithreadedApartment(const Apartment& apartment) {
    if (apartment.result != S_OK || apartment.type != APTTYPE_MTA) {
        return ::testing::AssertionFailure() << "CoGetApartmentType: hr=0x" << std::hex << static_cast<unsigned long>(apartment.result)
                                             << " type=" << apartment.type;
    }
    return ::testing::AssertionSuccess() << "qualifier " << apartment.qualifier;
}

}  // namespace

TEST(Apartment, AThreadInTheImplicitApartmentJoinsItBeforeItsFirstActivation) {
    std::promise<void> joined, activated, left;
    std::thread holder([&] {
        ASSERT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        joined.set_value();
        activated.get_future().wait();
        CoUninitialize();
        left.set_value();
    });
    joined.get_future().wait();

    std::thread entry([&] {
        const Apartment before = CurrentApartment();
        EXPECT_TRUE(InMultithreadedApartment(before));
        EXPECT_EQ(APTTYPEQUALIFIER_IMPLICIT_MTA, before.qualifier);
        EXPECT_NO_THROW(rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri));
        const Apartment after = CurrentApartment();
        activated.set_value();
        left.get_future().wait();
        const Apartment afterHolderLeft = CurrentApartment();
        EXPECT_TRUE(InMultithreadedApartment(after));
        EXPECT_TRUE(InMultithreadedApartment(afterHolderLeft)) << "the apartment ended with the other thread";
    });
    entry.join();
    holder.join();
}

// The report threads' road: a thread that joined the apartment itself
// activates, then leaves. Its activation took the process's hold, so the
// apartment, and the factory kept from it, outlive the thread.
TEST(Apartment, AnActivationOnAThreadThatLeavesTheApartmentKeepsItForTheProcess) {
    std::thread reporter([] {
        ASSERT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        EXPECT_NO_THROW(rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri));
        CoUninitialize();
    });
    reporter.join();
    std::thread entry([] {
        EXPECT_TRUE(InMultithreadedApartment(CurrentApartment())) << "the apartment ended with the thread";
        const auto factory = rt::get_activation_factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
        rt::com_ptr<rt::IUriRuntimeClass> uri;
        EXPECT_EQ(S_OK, factory->CreateUri(rt::hstring(L"https://a.example/").get(), uri.put()));
    });
    entry.join();
}
