#pragma once
// The push box: a message put into the notification centre without a banner.
#include <string>

#include "NotificationAPI.h"

// The application identity push boxes are shown under.
inline constexpr wchar_t kPushBoxDisplayName[] = L"Malvorn Video";
inline constexpr wchar_t kPushBoxAppId[] = L"MalvornVideo.Orvale.v1";

bool NotificationSetToPushBoxImpl(const wchar_t* title, const wchar_t* content, const wchar_t* image_url,
                                  const wchar_t* launch_args, const wchar_t* tag);

// The local file to show for `image_url`: an http(s) image downloaded into the
// temporary folder, anything else taken as a local path already; empty when
// the download failed.
std::wstring DownloadImageToTemp(const std::wstring& image_url);

// The presentation mode from "pc_push_box_config"/"mode" ("big" when unset):
// "big" shows the image as hero picture, anything else as application logo.
std::wstring ReadPushBoxMode();
