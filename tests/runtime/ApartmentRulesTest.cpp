// The COM rules the simulated runtime enforces, each with the call a faulty
// caller makes. Factories are fetched with RoGetActivationFactory itself, not
// through the module's cache, and every test runs in a process of its own
// (CTest), so no earlier hold on the multithreaded apartment is in the way.
#include <gtest/gtest.h>

#include <windows.h>
#include <objbase.h>
#include <roapi.h>

#include <atomic>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "ClassNames.h"
#include "ComPtr.h"
#include "Foundation.h"
#include "Guid.h"
#include "HString.h"
#include "Launcher.h"
#include "RuntimeError.h"
#include "SimRuntimeControl.h"
#include "UniqueHandle.h"

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

rt::com_ptr<rt::IUriRuntimeClass> MakeUri(const rt::com_ptr<rt::IUriRuntimeClassFactory>& factory) {
    rt::com_ptr<rt::IUriRuntimeClass> uri;
    rt::check(factory->CreateUri(rt::hstring(L"orvale-notification:?action=test").get(), uri.put()));
    return uri;
}

// Exactly one violation was recorded, of this kind and method; taken, so it does not fail the test.
::testing::AssertionResult TookViolation(std::wstring_view kind, std::wstring_view method) {
    const std::vector<std::wstring> taken = sim_control::take_violations();
    const std::wstring expected = std::wstring(kind) + L": " + std::wstring(method) + L" ";
    if (taken.size() == 1 && taken[0].rfind(expected, 0) == 0) return ::testing::AssertionSuccess();
    auto failure = ::testing::AssertionFailure() << taken.size() << " violations:";
    for (const auto& line : taken) failure << "\n  " << std::string(line.begin(), line.end());
    return failure;
}

// A completion handler as a caller writes one; free-threaded in fact only when
// it aggregates the free-threaded marshaler.
using QueryCompleted = rt::LaunchQuerySupportOperation::completed_handler;

class CompletionHandler final : public QueryCompleted {
public:
    explicit CompletionHandler(bool freeThreaded) : done_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
        if (freeThreaded) rt::check(CoCreateFreeThreadedMarshaler(this, marshaler_.put()));
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override {
        if (!result) return E_POINTER;
        *result = nullptr;
        if (iid == rt::iid_of<IUnknown> || iid == rt::iid_of<QueryCompleted>) {
            *result = static_cast<QueryCompleted*>(this);
            AddRef();
            return S_OK;
        }
        if (iid == kIMarshal && marshaler_) return marshaler_->QueryInterface(iid, result);
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE Invoke(rt::LaunchQuerySupportOperation*, rt::AsyncStatus) override {
        thread_ = GetCurrentThreadId();
        SetEvent(done_.get());
        return S_OK;
    }

    HANDLE done() const { return done_.get(); }
    DWORD thread() const { return thread_; }

private:
    ~CompletionHandler() = default;

    static constexpr GUID kIMarshal = rt::guid("00000003-0000-0000-c000-000000000046");
    std::atomic<ULONG> references_{1};
    rt::com_ptr<IUnknown> marshaler_;
    const UniqueHandle done_;
    std::atomic<DWORD> thread_{0};
};

// Waits as a thread in a single-threaded apartment must, dispatching calls and
// messages; false after 5 s.
bool PumpUntil(HANDLE handle) {
    DWORD index = 0;
    return CoWaitForMultipleHandles(COWAIT_DISPATCH_CALLS | COWAIT_DISPATCH_WINDOW_MESSAGES, 5000, 1, &handle,
                                    &index) == S_OK;
}

class ApartmentRules : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
};

}  // namespace

// The report threads' fault: a factory kept after every thread that held the
// multithreaded apartment left it, then called from a new one.
TEST_F(ApartmentRules, AFactoryOfAMultithreadedApartmentThatEndedIsDead) {
    rt::com_ptr<rt::IUriRuntimeClassFactory> factory;
    RunInApartment(COINIT_MULTITHREADED, [&] { factory = Factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri); });
    RunInApartment(COINIT_MULTITHREADED, [&] {
        rt::com_ptr<rt::IUriRuntimeClass> uri;
        EXPECT_EQ(CO_E_OBJNOTCONNECTED, factory->CreateUri(rt::hstring(L"https://example.invalid/").get(), uri.put()));
    });
    EXPECT_TRUE(TookViolation(L"use after unload", L"Uri.CreateUri"));
}

// A client's UI thread that leaves COM takes its objects with it, while the
// multithreaded apartment lives on.
TEST_F(ApartmentRules, AnObjectOfASingleThreadedApartmentThatEndedIsDead) {
    RunInApartment(COINIT_MULTITHREADED, [] {
        rt::com_ptr<rt::IUriRuntimeClass> uri;
        RunInApartment(COINIT_APARTMENTTHREADED,
                       [&] { uri = MakeUri(Factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri)); });
        rt::hstring host;
        EXPECT_EQ(CO_E_OBJNOTCONNECTED, uri->get_SchemeName(host.put()));
        EXPECT_TRUE(TookViolation(L"use after unload", L"Uri.get_SchemeName"));
    });
}

// The launcher's statics are not agile: used from another apartment they are
// refused, and they do not claim IAgileObject, so no cache may keep them. An
// agile class's factory is fine anywhere.
TEST_F(ApartmentRules, ANonAgileObjectIsCalledOnlyFromItsOwnApartment) {
    RunInApartment(COINIT_APARTMENTTHREADED, [] {
        const auto launcher = Factory<rt::ILauncherStatics2>(rt::class_name::Launcher);
        const auto uris = Factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri);
        const auto uri = MakeUri(uris);
        EXPECT_FALSE(launcher.TryAs<IAgileObject>());
        EXPECT_TRUE(uris.TryAs<IAgileObject>());

        RunInApartment(COINIT_MULTITHREADED, [&] {
            rt::com_ptr<rt::LaunchQuerySupportOperation> operation;
            EXPECT_EQ(RPC_E_WRONG_THREAD,
                      launcher->QueryUriSupportAsync(uri.get(), rt::LaunchQuerySupportType::Uri, operation.put()));
            EXPECT_TRUE(TookViolation(L"wrong apartment", L"Launcher.QueryUriSupportAsync"));
            EXPECT_NO_THROW(MakeUri(uris));
        });
        rt::com_ptr<rt::LaunchQuerySupportOperation> operation;
        EXPECT_EQ(S_OK, launcher->QueryUriSupportAsync(uri.get(), rt::LaunchQuerySupportType::Uri, operation.put()));
    });
    EXPECT_TRUE(sim_control::violations().empty());
}

// A handler that is not free-threaded in fact, set from a single-threaded
// apartment, runs only when that thread dispatches its messages; one that
// aggregates the free-threaded marshaler runs at once on the platform's thread.
TEST_F(ApartmentRules, AHandlerReachesASingleThreadedApartmentThroughItsMessagesUnlessFreeThreaded) {
    sim_control::set_async_delay_ms(100);  // the handler is set before the operation ends
    RunInApartment(COINIT_APARTMENTTHREADED, [] {
        const auto launcher = Factory<rt::ILauncherStatics2>(rt::class_name::Launcher);
        const auto uri = MakeUri(Factory<rt::IUriRuntimeClassFactory>(rt::class_name::Uri));
        auto query = [&](bool freeThreaded) {
            auto handler = rt::com_ptr<CompletionHandler>::attach(new CompletionHandler(freeThreaded));
            rt::com_ptr<rt::LaunchQuerySupportOperation> operation;
            rt::check(launcher->QueryUriSupportAsync(uri.get(), rt::LaunchQuerySupportType::Uri, operation.put()));
            rt::check(operation->put_Completed(handler.get()));
            return handler;
        };

        const auto freeThreaded = query(true);
        ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(freeThreaded->done(), 5000));
        EXPECT_NE(GetCurrentThreadId(), freeThreaded->thread());

        const auto boundToThisThread = query(false);
        EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(boundToThisThread->done(), 300)) << "ran without a message loop";
        ASSERT_TRUE(PumpUntil(boundToThisThread->done()));
        EXPECT_EQ(GetCurrentThreadId(), boundToThisThread->thread());
    });
}
