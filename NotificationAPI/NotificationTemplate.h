#pragma once
// One toast before it is rendered: owned texts, integers and flags only.
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace notification_wrapper {

enum class audio_option : int32_t {
    default_audio = 0,  // only a source, if any
    silent = 1,
    loop = 2,
};

enum class duration : int32_t {
    none = 0,  // no duration attribute
    short_duration = 1,
    long_duration = 2,  // so is every value other than 0 and 1
};

// Reported through the out-parameter of notification::show.
enum class notification_error : int32_t {
    none = 0,
    not_initialised = 1,  // no application identity registered yet
    no_handler = 6,       // no handler given, or its events could not be attached
};

struct notification_template {
    static constexpr size_t max_actions = 5;
    static constexpr size_t max_texts = 3;

    // Button labels are views: the caller keeps them alive until show returns.
    struct action_list {
        uint64_t count = 0;
        std::array<std::wstring_view, max_actions> labels{};
    };

    action_list actions;
    bool reply_box = false;
    bool hero_flag = false;      // handed to the hero-image step; reserved
    int64_t expiration_ms = 0;   // 1 or more: expires that long after it is shown
    std::array<std::wstring, max_texts> texts;
    std::wstring app_logo;       // local path or http(s) URL
    std::wstring hero_image;     // local path or http(s) URL
    std::wstring audio_src;
    std::wstring attribution;
    std::wstring scenario = L"Default";
    std::wstring launch_args;
    std::wstring tag;
    notification_wrapper::audio_option audio_option = notification_wrapper::audio_option::default_audio;
    int32_t template_type = 1;   // Windows ToastTemplateType; 1 is the two-line image template
    notification_wrapper::duration duration = notification_wrapper::duration::none;
    int32_t app_logo_crop = 0;   // 1: crop the app logo to a circle
};

// Text lines of the legacy toast template types 0 to 7; 0 for any other type.
constexpr size_t template_text_line_count(int32_t template_type) {
    constexpr size_t kLines[] = {1, 2, 2, 3, 1, 2, 2, 3};
    return template_type >= 0 && template_type < 8 ? kLines[template_type] : 0;
}

// Types 0 to 3 carry an image element.
constexpr bool template_has_image(int32_t template_type) { return template_type >= 0 && template_type <= 3; }

}  // namespace notification_wrapper
