// Toast events with random arguments, user input, dismissal reasons and error
// codes, raised by the simulated notification centre on its own threads. Each
// toast must end with its first event, whose handler call follows from the
// event; later events of an ended toast reach no handler.
#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "NotificationWrapper.h"
#include "NotificationWrapperMgr.h"
#include "SimToastControl.h"
#include "TempFolder.h"

namespace {

using notification_wrapper::notification;
using notification_wrapper::notification_event;
using notification_wrapper::notification_event_kind;
using notification_wrapper::notification_template;

const fuzz::Surface kSurface{"toast_events", 200, 250, 10000, 8};

constexpr wchar_t kReplyArguments[] = L"action=reply";
constexpr const wchar_t* kPieces[] = {L"0", L"1", L"7", L"9", L"-", L"+", L" ", L"\t", L"action=reply", L"Action=Reply",
                                      L"x", L"&", L"<", L"\"", L"\u00e9", L"\u4e2d", L"\U0001F600", L"2147483648", L"="};

struct Recorded {
    notification_event_kind kind;
    int value;
    std::wstring text;
    bool operator==(const Recorded&) const = default;
};

struct ToastRecord {
    std::mutex mutex;
    std::vector<Recorded> events;
};

std::wstring Soup(fuzz::CaseReader& in, size_t maxPieces) {
    std::wstring text;
    for (size_t n = in.Below(static_cast<uint32_t>(maxPieces + 1)); n > 0; --n) text += in.Pick(kPieces);
    if (in.Chance(8)) text += std::wstring(1 + in.Below(8000), L'9');
    return text;
}

struct Event {
    int kind = 0;  // 0 activated, 1 dismissed, 2 failed
    std::wstring arguments;
    std::optional<std::wstring> reply;
    int32_t reason = 0;
    HRESULT code = S_OK;
};

Event ReadEvent(fuzz::CaseReader& in) {
    Event event;
    event.kind = static_cast<int>(in.Below(3));
    event.arguments = in.Chance(64) ? std::wstring(kReplyArguments) : Soup(in, 4);
    if (in.Chance(160)) event.reply = Soup(in, 5);
    event.reason = in.Chance(160) ? static_cast<int32_t>(in.Below(3)) : static_cast<int32_t>(in.Uint32());
    event.code = static_cast<HRESULT>(in.Uint32());
    return event;
}

// The handler call the toast's first event makes; nothing when an activation
// cannot reach the handler. The number of any other activation is the
// notifier tests' to pin: here it is enough that the handler was called.
struct ExpectedCall {
    std::optional<Recorded> call;
    bool anyActivation = false;
};

ExpectedCall Expect(const Event& event) {
    if (event.kind == 1) return {Recorded{notification_event_kind::dismissed, event.reason, L""}};
    if (event.kind == 2) return {Recorded{notification_event_kind::failed, 0, L""}};
    if (event.arguments != kReplyArguments) return {std::nullopt, true};
    if (event.reply) return {Recorded{notification_event_kind::replied, 0, *event.reply}};
    return {};
}

HRESULT Raise(UINT32 index, const Event& event) {
    switch (event.kind) {
        case 0: return sim_control::raise_activated(index, event.arguments.c_str(), event.reply ? event.reply->c_str() : nullptr);
        case 1: return sim_control::raise_dismissed(index, event.reason);
        default: return sim_control::raise_failed(index, event.code);
    }
}

notification_template ReadTemplate(fuzz::CaseReader& in) {
    notification_template toast;
    toast.reply_box = in.Chance(96);
    toast.expiration_ms = in.Chance(64) ? 3'600'000 : 0;  // never reached while the case runs
    toast.texts[0] = Soup(in, 3);
    toast.launch_args = Soup(in, 2);
    return toast;
}

void RunToastCase(std::string_view bytes) {
    fuzz::CaseReader in(bytes);
    sim_control::reset();
    const size_t activeBefore = notification::instance().active_count();
    std::vector<std::shared_ptr<ToastRecord>> records;
    for (size_t n = 1 + in.Below(3); n > 0; --n) {
        auto record = std::make_shared<ToastRecord>();
        notification_wrapper::notification_error error{};
        const int64_t id = notification::instance().show(
            ReadTemplate(in),
            [record](const notification_event& event) {
                std::lock_guard lock(record->mutex);
                record->events.push_back({event.kind, event.value, event.text});
            },
            &error);
        ASSERT_GE(id, 0) << "show failed with " << static_cast<int>(error);
        records.push_back(record);
    }

    std::vector<ExpectedCall> expected(records.size());
    std::vector<HRESULT> firstResult(records.size(), S_OK);
    std::vector<bool> ended(records.size(), false);
    auto raise = [&](UINT32 index, const Event& event) {
        const HRESULT result = Raise(index, event);
        if (ended[index]) {
            EXPECT_EQ(result, S_OK) << "an ended toast still had a handler";
            return;
        }
        ended[index] = true;
        expected[index] = Expect(event);
        firstResult[index] = result;
    };
    for (size_t n = 1 + in.Below(5); n > 0; --n) raise(in.Below(static_cast<uint32_t>(records.size())), ReadEvent(in));
    Event last;
    last.kind = 2;
    for (UINT32 index = 0; index < records.size(); ++index) {
        if (!ended[index]) raise(index, last);
    }

    for (size_t index = 0; index < records.size(); ++index) {
        std::lock_guard lock(records[index]->mutex);
        const std::vector<Recorded>& calls = records[index]->events;
        // The raise reports whether the handler could be reached.
        EXPECT_EQ(SUCCEEDED(firstResult[index]), !calls.empty()) << "toast " << index;
        if (expected[index].anyActivation) {
            EXPECT_TRUE(calls.empty() || (calls.size() == 1 && calls[0].kind == notification_event_kind::activated))
                << "toast " << index << ": " << calls.size() << " handler calls";
        } else {
            EXPECT_TRUE(calls == (expected[index].call ? std::vector{*expected[index].call} : std::vector<Recorded>{}))
                << "toast " << index << ": " << calls.size() << " handler calls";
        }
    }
    EXPECT_EQ(notification::instance().active_count(), activeBefore);
}

TEST(ToastEventFuzz, EveryToastEndsWithItsFirstEvent) {
    // The first push box of a process is what starts the notifier.
    ASSERT_TRUE(NotificationSetToPushBox(L"start", L"", nullptr, nullptr));
    fuzz::RunCampaign(kSurface, RunToastCase);
}

}  // namespace
