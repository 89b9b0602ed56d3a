// Showing toasts and receiving their events, through the push-box exports and
// the notifier, against the simulated notification centre reached by activation.
#include <windows.h>
#include <objbase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cwctype>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "HostLogFile.h"
#include "NotificationWrapper.h"
#include "NotificationWrapperMgr.h"
#include "RuntimeError.h"
#include "SimToastControl.h"
#include "SimulationTest.h"
#include "TempFolder.h"
#include "TestMain.h"
#include "TestProcess.h"
#include "XmlDocumentText.h"

namespace {

using notification_wrapper::notification;
using notification_wrapper::notification_error;
using notification_wrapper::notification_event;
using notification_wrapper::notification_event_kind;
using notification_wrapper::notification_template;

constexpr wchar_t kAppId[] = L"MalvornVideo.Orvale.v1";
constexpr int64_t kTicksPerMillisecond = 10'000;

bool IsDecimal(const std::wstring& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](wchar_t c) { return std::iswdigit(c); });
}

std::wstring RegistryString(const std::wstring& subKey, const wchar_t* name) {
    wchar_t data[512] = {};
    DWORD bytes = sizeof(data);
    if (RegGetValueW(HKEY_CURRENT_USER, subKey.c_str(), name, RRF_RT_REG_SZ, nullptr, data, &bytes) != ERROR_SUCCESS) {
        return {};
    }
    return data;
}

int64_t NowTicks() {
    FILETIME now = {};
    GetSystemTimePreciseAsFileTime(&now);
    return static_cast<int64_t>((static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime);
}

// What a toast's handler received, and on which threads.
struct EventRecord {
    std::mutex mutex;
    std::vector<notification_event> events;
    std::vector<DWORD> threads;
};

struct EventSummary {
    notification_event_kind kind;
    int value;
    std::wstring text;
    bool operator==(const EventSummary&) const = default;
};

std::vector<EventSummary> Summaries(EventRecord& record) {
    std::lock_guard lock(record.mutex);
    std::vector<EventSummary> summaries;
    for (const auto& event : record.events) summaries.push_back({event.kind, event.value, event.text});
    return summaries;
}

void PrintTo(const EventSummary& event, std::ostream* out) {
    *out << "{kind " << static_cast<int>(event.kind) << ", value " << event.value << ", text "
         << WideToUtf8Text(event.text) << "}";
}

class Notifier : public SimulationTest {
protected:

    // The first push box of the process is what starts the notifier.
    void StartThroughPushBox() {
        ASSERT_TRUE(NotificationSetToPushBox(L"start", L"", nullptr, nullptr));
        sim_control::reset();
    }

    // Shows `toast` with a handler that records its events; the id.
    int64_t ShowRecorded(const notification_template& toast) {
        notification_error error = notification_error::not_initialised;
        const int64_t id = notification::instance().show(
            toast,
            [record = record_](const notification_event& event) {
                std::lock_guard lock(record->mutex);
                record->events.push_back(event);
                record->threads.push_back(GetCurrentThreadId());
            },
            &error);
        EXPECT_EQ(error, notification_error::none);
        return id;
    }

    std::shared_ptr<EventRecord> record_ = std::make_shared<EventRecord>();
};

// Needs a process in which no push box ran yet: after the others, it runs
// again alone in a program of its own.
TEST_F(Notifier, RefusesToShowBeforeThePushBoxStartedIt) {
    if (notification::instance().initialised) {
        const ProcessResult alone = RunProcess(L"\"" + BinaryFolder() +
                                               L"\\toast_tests.exe\" --gtest_filter=Notifier.RefusesToShow*");
        EXPECT_EQ(alone.exitCode, 0u) << alone.output;
        EXPECT_NE(alone.output.find("[  PASSED  ] 1 test."), std::string::npos) << alone.output;
        return;
    }
    notification_error error = notification_error::none;
    EXPECT_EQ(notification::instance().show(
                  notification_template(), [](const notification_event&) {}, &error),
              -1);
    EXPECT_EQ(error, notification_error::not_initialised);
    EXPECT_TRUE(sim_control::shown_toasts().empty());
}

TEST_F(Notifier, PushBoxShowsWithoutBannerUnderTheClientsIdentity) {
    HostLogCursor cursor(TestLogPath());
    ASSERT_TRUE(NotificationSetToPushBox(L"Title", L"Body", nullptr, L"orvale://open?from=push&x=1"));
    ASSERT_TRUE(NotificationSetToPushBoxWithTag(L"Second", L"Body", L"", L"", L"given-tag"));
    ASSERT_TRUE(NotificationSetToPushBoxWithTag(nullptr, nullptr, nullptr, nullptr, nullptr));

    const auto shown = sim_control::shown_toasts();
    ASSERT_EQ(shown.size(), 3u);
    for (const auto& toast : shown) {
        EXPECT_EQ(toast.app_id, kAppId);
        EXPECT_FALSE(toast.discarded) << "the identity is registered before the toast is shown";
        EXPECT_TRUE(toast.suppress_popup);
        EXPECT_FALSE(toast.expiration_time.has_value());
    }
    EXPECT_TRUE(IsDecimal(shown[0].tag)) << WideToUtf8Text(shown[0].tag);
    EXPECT_EQ(shown[1].tag, L"given-tag");
    EXPECT_TRUE(IsDecimal(shown[2].tag)) << WideToUtf8Text(shown[2].tag);
    EXPECT_NE(shown[0].tag, shown[2].tag);

    EXPECT_EQ(normalised(shown[0].xml), normalised(LR"(
        <toast scenario="Default" activationType="protocol" launch="orvale://open?from=push&amp;x=1" template="ToastGeneric">
          <visual><binding template="ToastImageAndText02">
            <image id="1" src="file:///"/>
            <text id="1">Title</text>
            <text id="2">Body</text>
          </binding></visual>
          <audio silent="true"/>
        </toast>)"));
    EXPECT_EQ(shown[1].xml.find(L" launch="), std::wstring::npos);

    const std::wstring key = std::wstring(L"Software\\Classes\\AppUserModelId\\") + kAppId;
    EXPECT_EQ(RegistryString(key, L"DisplayName"), L"Malvorn Video");
    // Without an image the push box has nothing to log.
    EXPECT_TRUE(LinesContaining(cursor.NewLines(), "NotificationAPIDLL").empty());
}

// A failing call of the notifier, or one throwing what is no runtime error.
TEST_F(Notifier, PushBoxReportsAFailureToShowAsFalse) {
    const auto fail = [] { sim_control::fail_next_call(L"ToastNotifier.Show", E_ACCESSDENIED); };
    const auto throwForeign = [] { sim_control::throw_from_next_toast_call(L"ToastNotifier.Show"); };
    const std::vector<std::pair<std::function<void()>, std::string>> cases = {
        {fail, "[NotificationSetToPushBoxImpl]NotificationSetToPushBoxImpl exception, hr=0x80070005"},
        {throwForeign, "[NotificationSetToPushBoxImpl]NotificationSetToPushBoxImpl unknown exception"},
    };
    for (const auto& [steer, line] : cases) {
        steer();
        const size_t before = notification::instance().active_count();
        HostLogCursor cursor(TestLogPath());
        EXPECT_FALSE(NotificationSetToPushBox(L"Title", L"Body", nullptr, nullptr));

        EXPECT_TRUE(sim_control::shown_toasts().empty());
        EXPECT_EQ(notification::instance().active_count(), before);
        const auto errors = LinesContaining(cursor.NewLines(), line);
        ASSERT_EQ(errors.size(), 1u) << line;
        EXPECT_EQ(errors[0].level, 3);
        EXPECT_EQ(errors[0].message.rfind(line, 0), 0u);
    }
}

TEST_F(Notifier, AHandlerThatCannotBeAttachedIsError6) {
    StartThroughPushBox();
    const size_t before = notification::instance().active_count();
    notification_error error = notification_error::none;
    EXPECT_EQ(notification::instance().show_impl(notification_template(), nullptr, &error), -1);
    EXPECT_EQ(error, notification_error::no_handler);

    sim_control::fail_next_call(L"ToastNotification.add_Failed", E_ACCESSDENIED);
    try {
        notification::instance().show(
            notification_template(), [](const notification_event&) {}, &error);
        ADD_FAILURE() << "no error";
    } catch (const rt::hresult_error& e) {
        EXPECT_EQ(e.code(), E_ACCESSDENIED);
    }
    EXPECT_EQ(error, notification_error::no_handler);
    EXPECT_TRUE(sim_control::shown_toasts().empty());
    EXPECT_EQ(notification::instance().active_count(), before);
}

TEST_F(Notifier, EventsArriveOnAnotherThreadAndEndTheToastOnce) {
    StartThroughPushBox();
    notification_template reply;
    reply.reply_box = true;
    const size_t before = notification::instance().active_count();
    ShowRecorded(notification_template());
    ShowRecorded(reply);
    ShowRecorded(notification_template());
    ASSERT_EQ(notification::instance().active_count(), before + 3);
    EXPECT_EQ(sim_control::handler_counts(0), (sim_control::toast_handler_counts{1, 1, 1}));

    EXPECT_EQ(sim_control::raise_activated(0, L"2"), S_OK);
    EXPECT_EQ(sim_control::raise_activated(1, L"action=reply", L"see you at eight"), S_OK);
    EXPECT_EQ(sim_control::raise_failed(2, E_FAIL), S_OK);

    EXPECT_EQ(Summaries(*record_),
              (std::vector<EventSummary>{{notification_event_kind::activated, 2, L""},
                                         {notification_event_kind::replied, 0, L"see you at eight"},
                                         {notification_event_kind::failed, 0, L""}}));
    for (DWORD thread : record_->threads) EXPECT_NE(thread, GetCurrentThreadId());
    EXPECT_EQ(notification::instance().active_count(), before);
    for (UINT32 index = 0; index < 3; ++index) {
        EXPECT_EQ(sim_control::handler_counts(index), sim_control::toast_handler_counts{}) << index;
    }

    // A late second event of an ended toast reaches no handler.
    EXPECT_EQ(sim_control::raise_dismissed(0, 0), S_OK);
    EXPECT_EQ(Summaries(*record_).size(), 3u);
    for (const wchar_t* method : {L"ToastNotification.remove_Activated", L"ToastNotification.remove_Dismissed",
                                  L"ToastNotification.remove_Failed"}) {
        EXPECT_EQ(sim_control::call_count(method), 3u) << WideToUtf8Text(method);
    }
}

// Arguments that are no number, or a reply without its text: the toast ends
// all the same and no handler is called.
TEST_F(Notifier, ABadActivationEndsTheToastWithoutAHandlerCall) {
    StartThroughPushBox();
    notification_template reply;
    reply.reply_box = true;
    const size_t before = notification::instance().active_count();
    ShowRecorded(notification_template());
    ShowRecorded(reply);
    HostLogCursor cursor(TestLogPath());

    EXPECT_TRUE(FAILED(sim_control::raise_activated(0, L"x")));
    EXPECT_EQ(sim_control::raise_activated(1, L"action=reply", nullptr), static_cast<HRESULT>(0x8000000B));  // E_BOUNDS

    EXPECT_TRUE(Summaries(*record_).empty());
    const auto lines = cursor.NewLines();
    for (const char* error : {"on_toast_activated unknown exception", "on_toast_activated exception, hr=0x8000000B"}) {
        const auto errors = LinesContaining(lines, error);
        ASSERT_EQ(errors.size(), 1u) << error;
        EXPECT_EQ(errors[0].level, 3);
    }
    EXPECT_EQ(notification::instance().active_count(), before);
    EXPECT_EQ(sim_control::handler_counts(0), sim_control::toast_handler_counts{});
}

TEST_F(Notifier, ExpiryDecidesWhetherAUserDismissalWasATimeOut) {
    StartThroughPushBox();
    notification_template expiresAtOnce, expiresLater;
    expiresAtOnce.expiration_ms = 1;
    expiresLater.expiration_ms = 3'600'000;
    const size_t active = notification::instance().active_count();
    const int64_t before = NowTicks();
    ShowRecorded(expiresAtOnce);
    ShowRecorded(expiresLater);
    ShowRecorded(notification_template());
    ShowRecorded(expiresAtOnce);
    const int64_t after = NowTicks();
    Sleep(20);

    const auto shown = sim_control::shown_toasts();
    ASSERT_EQ(shown.size(), 4u);
    ASSERT_TRUE(shown[1].expiration_time.has_value());
    EXPECT_GE(*shown[1].expiration_time, before + 3'600'000 * kTicksPerMillisecond);
    EXPECT_LE(*shown[1].expiration_time, after + 3'600'000 * kTicksPerMillisecond);
    EXPECT_FALSE(shown[2].expiration_time.has_value());

    for (UINT32 index = 0; index < 3; ++index) EXPECT_EQ(sim_control::raise_dismissed(index, 0), S_OK);
    EXPECT_EQ(sim_control::raise_dismissed(3, 1), S_OK);
    EXPECT_EQ(Summaries(*record_), (std::vector<EventSummary>{{notification_event_kind::dismissed, 2, L""},
                                                              {notification_event_kind::dismissed, 0, L""},
                                                              {notification_event_kind::dismissed, 0, L""},
                                                              {notification_event_kind::dismissed, 1, L""}}));
    EXPECT_EQ(notification::instance().active_count(), active);
}

TEST_F(Notifier, PushBoxRefusesATagThePlatformRefuses) {
    const std::wstring longest(64, L'x');
    EXPECT_TRUE(NotificationSetToPushBoxWithTag(L"Title", L"Body", nullptr, nullptr, longest.c_str()));
    const size_t before = notification::instance().active_count();
    EXPECT_FALSE(NotificationSetToPushBoxWithTag(L"Title", L"Body", nullptr, nullptr, (longest + L"x").c_str()));

    const auto shown = sim_control::shown_toasts();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].tag, longest);
    EXPECT_EQ(notification::instance().active_count(), before);
}

TEST_F(Notifier, PushBoxesFromManyClientThreadsAreEachShownOnce) {
    constexpr int kThreads = 8, kPerThread = 50;
    std::vector<std::thread> clients;
    std::vector<int> failures(kThreads, 0);
    for (int t = 0; t < kThreads; ++t) {
        clients.emplace_back([t, &failures] {
            for (int i = 0; i < kPerThread; ++i) {
                const std::wstring title = std::to_wstring(t) + L"-" + std::to_wstring(i);
                if (!NotificationSetToPushBox(title.c_str(), L"Body", nullptr, nullptr)) ++failures[t];
            }
        });
    }
    for (auto& client : clients) client.join();

    EXPECT_EQ(failures, std::vector<int>(kThreads, 0));
    const auto shown = sim_control::shown_toasts();
    ASSERT_EQ(shown.size(), static_cast<size_t>(kThreads * kPerThread));
    std::set<std::wstring> titles, tags;
    for (const auto& toast : shown) {
        EXPECT_EQ(toast.app_id, kAppId);
        titles.insert(elements_named(toast.xml, L"text").at(0));
        tags.insert(toast.tag);
    }
    EXPECT_EQ(titles.size(), shown.size());
    EXPECT_EQ(tags.size(), shown.size());
}

TEST_F(Notifier, EventsRacingEachOtherOrShowReachTheHandlerOnce) {
    StartThroughPushBox();
    const size_t before = notification::instance().active_count();
    constexpr UINT32 kToasts = 20;
    for (UINT32 index = 0; index < kToasts; ++index) {
        if (index % 2 == 0) sim_control::race_events_on_next_show(L"1", 0);
        ShowRecorded(notification_template());
        if (index % 2 == 1) {
            EXPECT_EQ(sim_control::raise_racing(index, L"1", 0), S_OK);
        }
    }

    const auto events = Summaries(*record_);
    EXPECT_EQ(events.size(), kToasts);
    for (const auto& event : events) {
        EXPECT_TRUE(event == (EventSummary{notification_event_kind::activated, 1, L""}) ||
                    event == (EventSummary{notification_event_kind::dismissed, 0, L""}));
    }
    EXPECT_EQ(notification::instance().active_count(), before);
    for (UINT32 index = 0; index < kToasts; ++index) {
        EXPECT_EQ(sim_control::handler_counts(index), sim_control::toast_handler_counts{}) << index;
    }
}

// The push box never asks ToastNotifier.Setting before Show, by design: under
// every blocking setting it still reports success, the platform drops the
// toast and raises Failed, and that event ends the push box's toast in the module.
TEST_F(Notifier, ASettingThatBlocksToastsDropsThePushBoxAndEndsItByFailed) {
    for (auto setting : {rt::NotificationSetting::DisabledForApplication, rt::NotificationSetting::DisabledForUser,
                         rt::NotificationSetting::DisabledByGroupPolicy, rt::NotificationSetting::DisabledByManifest}) {
        sim_control::reset();
        sim_control::set_toast_setting(setting);
        const size_t before = notification::instance().active_count();

        EXPECT_TRUE(NotificationSetToPushBox(L"Title", L"Body", nullptr, nullptr));

        const auto shown = sim_control::shown_toasts();
        ASSERT_EQ(shown.size(), 1u);
        EXPECT_TRUE(shown[0].discarded);
        EXPECT_EQ(sim_control::handler_counts(0), sim_control::toast_handler_counts{});
        EXPECT_EQ(notification::instance().active_count(), before);
        EXPECT_EQ(sim_control::call_count(L"ToastNotifier.get_Setting"), 0u);
    }
}

}  // namespace

// A push box from a client's UI thread that is busy when the user acts: the
// toast's events do not wait for that thread's message loop.
TEST_F(Notifier, APushBoxFromASingleThreadedApartmentHearsItsEventWhileTheThreadIsBusy) {
    const size_t before = notification::instance().active_count();
    std::promise<void> shown;
    std::promise<void> raised;
    std::thread client([&] {
        EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
        EXPECT_TRUE(NotificationSetToPushBox(L"Title", L"Body", nullptr, nullptr));
        shown.set_value();
        raised.get_future().wait();
        CoUninitialize();
    });
    shown.get_future().wait();
    EXPECT_EQ(notification::instance().active_count(), before + 1);
    EXPECT_EQ(sim_control::raise_dismissed(0, 0), S_OK);
    EXPECT_EQ(notification::instance().active_count(), before) << "the event waits for the client's thread";
    raised.set_value();
    client.join();
}
