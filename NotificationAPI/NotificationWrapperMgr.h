#pragma once
// The push box: a message put into the notification centre without a banner.
#include <string>

// Both take null pointers as empty strings; true when the toast was shown.
extern "C" __declspec(dllexport) bool NotificationSetToPushBox(const wchar_t* title, const wchar_t* content,
                                                               const wchar_t* image_url, const wchar_t* launch_args);
extern "C" __declspec(dllexport) bool NotificationSetToPushBoxWithTag(const wchar_t* title, const wchar_t* content,
                                                                      const wchar_t* image_url,
                                                                      const wchar_t* launch_args, const wchar_t* tag);

bool NotificationSetToPushBoxImpl(const wchar_t* title, const wchar_t* content, const wchar_t* image_url,
                                  const wchar_t* launch_args, const wchar_t* tag);

// The local file to show for `image_url`: an http(s) image downloaded into the
// temporary folder, anything else taken as a local path already; empty when
// the download failed.
std::wstring DownloadImageToTemp(const std::wstring& image_url);
