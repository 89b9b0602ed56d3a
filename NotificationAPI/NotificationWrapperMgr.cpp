#include "NotificationWrapperMgr.h"

#include <windows.h>

#include <shlwapi.h>
#include <shobjidl.h>
#include <urlmon.h>

#include <cwchar>
#include <mutex>

#include "Business.h"
#include "HostLog.h"
#include "NotificationAppIdentity.h"
#include "NotificationTemplate.h"
#include "NotificationWrapper.h"
#include "RuntimeError.h"
#include "UtilJx.h"

namespace {

constexpr wchar_t kImplFunction[] = L"NotificationSetToPushBoxImpl";
constexpr wchar_t kDownloadFunction[] = L"DownloadImageToTemp";

std::wstring OwnedText(const wchar_t* text) { return text != nullptr ? std::wstring(text) : std::wstring(); }

bool IsHttpUrl(const std::wstring& url) { return url.size() >= 4 && url.compare(0, 4, L"http") == 0; }

std::wstring TempImagePath() {
    wchar_t folder[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    wchar_t name[32] = {};
    (void)swprintf(name, 32, L"notif_%u.jpg", static_cast<unsigned>(GetTickCount()));  // ten digits at most
    wchar_t path[MAX_PATH] = {};
    PathCombineW(path, folder, name);
    return path;
}

// The first push box of the process starts the notifier from a clean state;
// concurrent first calls must not both do it.
void InitialiseNotifierOnce() {
    static std::once_flag once;
    std::call_once(once, [] {
        auto& notifier = notification_wrapper::notification::instance();
        notifier.initialised = false;
        notifier.attribution_enabled = true;
        notifier.clear_active();
    });
}

// Every call writes the identity again, so a key the user deleted comes back
// with the next push box. Clients call from several threads: one writer at a
// time, or two would race over the icon file and the key.
void RegisterIdentity() {
    static std::mutex registration;
    std::lock_guard lock(registration);
    auto& notifier = notification_wrapper::notification::instance();
    notifier.set_identity(kPushBoxDisplayName, kPushBoxAppId);
    notification_wrapper::register_app_id(kPushBoxDisplayName, kPushBoxAppId);
    SetCurrentProcessExplicitAppUserModelID(kPushBoxAppId);
    notifier.initialised = true;
}

bool IsBigMode() { return UtilJx::Base::Utf16ToUtf8(ReadPushBoxMode()) == "big"; }

std::wstring DownloadIfHttp(const std::wstring& image_url) {
    if (!IsHttpUrl(image_url)) {
        HOST_LOG_INFO(kDownloadFunction, L"[{}][NotificationAPIDLL] download skip, not http url = {}",
                      kDownloadFunction, image_url);
        return image_url;
    }
    // The files stay behind: the notification centre may show the toast long
    // after this call, and the temporary folder is the system's to clean.
    std::wstring path = TempImagePath();
    const HRESULT hr = URLDownloadToFileW(nullptr, image_url.c_str(), path.c_str(), 0, nullptr);
    if (FAILED(hr)) {
        HOST_LOG_INFO(kDownloadFunction, L"[{}][NotificationAPIDLL] download failed, hr = 0x{:x}, url = {}",
                      kDownloadFunction, host_log::Hex(hr), image_url);
        return {};
    }
    HOST_LOG_INFO(kDownloadFunction, L"[{}][NotificationAPIDLL] download success, url = {}, localPath = {}",
                  kDownloadFunction, image_url, path);
    return path;
}

void ApplyImage(notification_wrapper::notification_template& toast, const std::wstring& image_url, bool isBigMode) {
    const std::wstring localPath = DownloadImageToTemp(image_url);
    if (localPath.empty()) {
        HOST_LOG_INFO(kImplFunction, L"[{}][NotificationAPIDLL] apply image skipped, url = {}", kImplFunction,
                      image_url);
        return;
    }
    if (isBigMode) {
        toast.hero_image = localPath;
        toast.hero_flag = false;
    } else {
        toast.app_logo = localPath;
        toast.app_logo_crop = 0;
    }
    HOST_LOG_INFO(kImplFunction, L"[{}][NotificationAPIDLL] apply image, isBigMode = {}, localPath = {}", kImplFunction,
                  isBigMode, localPath);
}

}  // namespace

std::wstring DownloadImageToTemp(const std::wstring& image_url) {
    try {
        return DownloadIfHttp(image_url);
    } catch (...) {
        HOST_LOG_ERROR(kDownloadFunction, L"[{}]DownloadImageToTemp unknown exception", kDownloadFunction);
        return {};
    }
}

bool NotificationSetToPushBoxImpl(const wchar_t* title, const wchar_t* content, const wchar_t* image_url,
                                  const wchar_t* launch_args, const wchar_t* tag) {
    try {
        const std::wstring titleText = OwnedText(title);
        const std::wstring contentText = OwnedText(content);
        const std::wstring imageUrl = OwnedText(image_url);
        const std::wstring launchArgs = OwnedText(launch_args);
        const std::wstring tagText = OwnedText(tag);

        InitialiseNotifierOnce();
        RegisterIdentity();

        notification_wrapper::notification_template toast;
        toast.texts[0] = titleText;
        if (notification_wrapper::template_text_line_count(toast.template_type) >= 1) toast.texts[1] = contentText;
        const bool isBigMode = IsBigMode();
        if (!imageUrl.empty()) ApplyImage(toast, imageUrl, isBigMode);
        toast.launch_args = launchArgs;
        if (!tagText.empty()) toast.tag = tagText;
        toast.scenario = L"Default";
        toast.audio_option = notification_wrapper::audio_option::silent;
        toast.duration = notification_wrapper::duration::none;

        // The push box has nothing to do when the toast is clicked or goes
        // away: activation launches the toast's URI by protocol.
        notification_wrapper::notification_error error = notification_wrapper::notification_error::none;
        const int64_t id = notification_wrapper::notification::instance().show(
            toast, [](const notification_wrapper::notification_event&) {}, &error);
        return id != -1;
    } catch (const rt::hresult_error& e) {
        HOST_LOG_ERROR(kImplFunction, L"[{}]NotificationSetToPushBoxImpl exception, hr=0x{:08X}, msg={}", kImplFunction,
                       host_log::Hex(e.code()), e.message());
    } catch (...) {
        HOST_LOG_ERROR(kImplFunction, L"[{}]NotificationSetToPushBoxImpl unknown exception", kImplFunction);
    }
    return false;
}

extern "C" bool NotificationSetToPushBox(const wchar_t* title, const wchar_t* content, const wchar_t* image_url,
                                         const wchar_t* launch_args) {
    return NotificationSetToPushBoxImpl(title, content, image_url, launch_args, nullptr);
}

extern "C" bool NotificationSetToPushBoxWithTag(const wchar_t* title, const wchar_t* content, const wchar_t* image_url,
                                                const wchar_t* launch_args, const wchar_t* tag) {
    return NotificationSetToPushBoxImpl(title, content, image_url, launch_args, tag);
}

std::wstring ReadPushBoxMode() {
    try {
        return business::GetConfigFromConfigJson(L"pc_push_box_config", L"mode", L"big");
    } catch (...) {
        return L"big";
    }
}
