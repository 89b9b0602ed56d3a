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

namespace {

using notification_wrapper::notification;
using notification_wrapper::notification_event;
using notification_wrapper::notification_event_kind;

constexpr wchar_t kReplyArguments[] = L"action=reply";
constexpr const wchar_t* kPieces[] = {L"0", L"1", L"7", L"9", L"-", L"+", L" ", L"\t", L"action=reply", L"Action=Reply",
                                      L"x", L"&", L"<", L"\"", L"\u00e9", L"\u4e2d", L"\U0001F600", L"2147483648", L"="};

struct Call {
    notification_event_kind kind;
    int value;
    std::wstring text;
    bool operator==(const Call&) const = default;
};

struct Toast {
    std::mutex mutex;
    std::vector<Call> calls;
    bool ended = false;
    HRESULT firstResult = S_OK;
    // The handler call the first event makes; nothing when an activation
    // cannot reach the handler. The number of any other activation is the
    // notifier tests' to pin: here it is enough that the handler was called.
    std::optional<Call> expected;
    bool anyActivation = false;
};

std::wstring Soup(fuzz::CaseReader& in, uint32_t maxPieces) {
    std::wstring text;
    for (uint32_t n = in.Below(maxPieces + 1); n > 0; --n) text += in.Pick(kPieces);
    if (in.Chance(8)) text += std::wstring(1 + in.Below(8000), L'9');
    return text;
}

// Raises a random event (or, with `fail`, a failure) at the toast and
// records what its first event must have done.
void Raise(fuzz::CaseReader& in, UINT32 index, Toast& toast, bool fail = false) {
    const uint32_t kind = fail ? 2 : in.Below(3);
    HRESULT result = S_OK;
    if (kind == 0) {
        const std::wstring arguments = in.Chance(64) ? std::wstring(kReplyArguments) : Soup(in, 4);
        std::optional<std::wstring> reply;
        if (in.Chance(160)) reply = Soup(in, 5);
        result = sim_control::raise_activated(index, arguments.c_str(), reply ? reply->c_str() : nullptr);
        if (!toast.ended && arguments != kReplyArguments) toast.anyActivation = true;
        if (!toast.ended && arguments == kReplyArguments && reply) toast.expected = Call{notification_event_kind::replied, 0, *reply};
    } else if (kind == 1) {
        const auto reason = in.Chance(160) ? static_cast<int32_t>(in.Below(3)) : static_cast<int32_t>(in.Uint32());
        result = sim_control::raise_dismissed(index, reason);
        if (!toast.ended) toast.expected = Call{notification_event_kind::dismissed, reason, L""};
    } else {
        result = sim_control::raise_failed(index, fail ? E_FAIL : static_cast<HRESULT>(in.Uint32()));
        if (!toast.ended) toast.expected = Call{notification_event_kind::failed, 0, L""};
    }
    if (toast.ended) {
        EXPECT_EQ(result, S_OK) << "an ended toast still had a handler";
        return;
    }
    toast.ended = true;
    toast.firstResult = result;
}

void RunToastCase(std::string_view bytes) {
    fuzz::CaseReader in(bytes);
    sim_control::reset();
    const size_t activeBefore = notification::instance().active_count();
    std::vector<std::shared_ptr<Toast>> toasts;
    for (uint32_t n = 1 + in.Below(3); n > 0; --n) {
        auto toast = std::make_shared<Toast>();
        notification_wrapper::notification_template content;
        content.reply_box = in.Chance(96);
        content.expiration_ms = in.Chance(64) ? 3'600'000 : 0;  // never reached while the case runs
        content.texts[0] = Soup(in, 3);
        content.launch_args = Soup(in, 2);
        notification_wrapper::notification_error error{};
        const int64_t id = notification::instance().show(
            content,
            [toast](const notification_event& event) {
                std::lock_guard lock(toast->mutex);
                toast->calls.push_back({event.kind, event.value, event.text});
            },
            &error);
        ASSERT_GE(id, 0) << "show failed with " << static_cast<int>(error);
        toasts.push_back(toast);
    }
    for (uint32_t n = 1 + in.Below(5); n > 0; --n) {
        const UINT32 index = in.Below(static_cast<uint32_t>(toasts.size()));
        Raise(in, index, *toasts[index]);
    }
    for (UINT32 index = 0; index < toasts.size(); ++index) {
        if (!toasts[index]->ended) Raise(in, index, *toasts[index], true);
    }

    for (size_t index = 0; index < toasts.size(); ++index) {
        Toast& toast = *toasts[index];
        std::lock_guard lock(toast.mutex);
        // The raise reports whether the handler could be reached.
        EXPECT_EQ(SUCCEEDED(toast.firstResult), !toast.calls.empty()) << "toast " << index;
        const bool asExpected = toast.anyActivation
                                    ? toast.calls.empty() || (toast.calls.size() == 1 && toast.calls[0].kind == notification_event_kind::activated)
                                    : toast.calls == (toast.expected ? std::vector{*toast.expected} : std::vector<Call>{});
        EXPECT_TRUE(asExpected) << "toast " << index << ": " << toast.calls.size() << " handler calls";
    }
    EXPECT_EQ(notification::instance().active_count(), activeBefore);
}

TEST(ToastEventFuzz, EveryToastEndsWithItsFirstEvent) {
    // The first push box of a process is what starts the notifier.
    ASSERT_TRUE(NotificationSetToPushBox(L"start", L"", nullptr, nullptr));
    fuzz::RunCampaign({"toast_events", 200, 250, 10000, 8}, RunToastCase);
}

}  // namespace
