#include "ToastXmlRenderer.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "Activation.h"
#include "ClassNames.h"
#include "HString.h"
#include "Notifications.h"
#include "RuntimeError.h"
#include "ToastCapabilities.h"

namespace notification_wrapper {

namespace {

using rt::com_ptr;
using rt::IXmlElement;

// The XML calls the steps need, each one checked.
class toast_document {
public:
    explicit toast_document(com_ptr<rt::IXmlDocument> document) : document_(std::move(document)) {
        if (!document_) throw rt::hresult_error(E_FAIL);
    }

    const com_ptr<rt::IXmlDocument>& get() const { return document_; }

    // The index-th element named `tag` in document order; empty when there is none.
    com_ptr<IXmlElement> find(const wchar_t* tag, UINT32 index = 0) const {
        com_ptr<rt::IXmlNodeList> elements;
        rt::check(document_->GetElementsByTagName(rt::hstring(tag).get(), elements.put()));
        com_ptr<rt::IXmlNode> item;
        rt::check(elements->Item(index, item.put()));
        return item ? item.As<IXmlElement>() : nullptr;
    }

    com_ptr<IXmlElement> require(const wchar_t* tag, UINT32 index = 0) const {
        com_ptr<IXmlElement> element = find(tag, index);
        if (!element) throw rt::hresult_error(E_FAIL);
        return element;
    }

    com_ptr<IXmlElement> root() const {
        com_ptr<IXmlElement> element;
        rt::check(document_->get_DocumentElement(element.put()));
        if (!element) throw rt::hresult_error(E_FAIL);
        return element;
    }

    com_ptr<IXmlElement> create(const wchar_t* tag) const {
        com_ptr<IXmlElement> element;
        rt::check(document_->CreateElement(rt::hstring(tag).get(), element.put()));
        return element;
    }

    void append_text(const com_ptr<IXmlElement>& element, std::wstring_view text) const {
        com_ptr<rt::IXmlText> node;
        rt::check(document_->CreateTextNode(rt::hstring(text).get(), node.put()));
        append(element, node.As<rt::IXmlNode>());
    }

    static void append(const com_ptr<IXmlElement>& parent, const com_ptr<rt::IXmlNode>& child) {
        com_ptr<rt::IXmlNode> appended;
        rt::check(parent.As<rt::IXmlNode>()->AppendChild(child.get(), appended.put()));
    }

    static void set(const com_ptr<IXmlElement>& element, const wchar_t* name, std::wstring_view value) {
        rt::check(element->SetAttribute(rt::hstring(name).get(), rt::hstring(value).get()));
    }

private:
    com_ptr<rt::IXmlDocument> document_;
};

bool switches_to_generic_binding(const notification_template& toast) {
    return !toast.hero_image.empty() || toast.app_logo_crop == 1;
}

void write_texts(const toast_document& document, const notification_template& toast) {
    const size_t lines = std::min(template_text_line_count(toast.template_type), notification_template::max_texts);
    for (size_t i = 0; i < lines; ++i) {
        document.append_text(document.require(L"text", static_cast<UINT32>(i)), toast.texts[i]);
    }
}

void write_attribution(const toast_document& document, const notification_template& toast) {
    if (toast.attribution.empty()) return;
    auto text = document.create(L"text");
    toast_document::set(text, L"placement", L"attribution");
    document.append_text(text, toast.attribution);
    toast_document::append(document.require(L"binding"), text.As<rt::IXmlNode>());
}

com_ptr<IXmlElement> actions_element(const toast_document& document) {
    if (auto existing = document.find(L"actions")) return existing;
    auto actions = document.create(L"actions");
    toast_document::append(document.root(), actions.As<rt::IXmlNode>());
    return actions;
}

std::wstring button_arguments(size_t index) {
    wchar_t text[32];
    (void)swprintf(text, std::size(text), L"%zd", index);  // 32 characters hold any size_t
    return text;
}

void write_button(const toast_document& document, const com_ptr<IXmlElement>& actions, std::wstring_view label,
                  size_t index) {
    auto action = document.create(L"action");
    toast_document::set(action, L"content", label);
    toast_document::set(action, L"arguments", button_arguments(index));
    toast_document::append(actions, action.As<rt::IXmlNode>());
}

void write_reply_box(const toast_document& document, const com_ptr<IXmlElement>& actions) {
    auto input = document.create(L"input");
    toast_document::set(input, L"id", L"textBox");
    toast_document::set(input, L"type", L"text");
    toast_document::set(input, L"placeHolderContent", L"...");
    toast_document::append(actions, input.As<rt::IXmlNode>());

    auto reply = document.create(L"action");
    toast_document::set(reply, L"content", L"Reply");
    toast_document::set(reply, L"arguments", L"action=reply");
    toast_document::set(reply, L"hint-inputId", L"textBox");
    toast_document::append(actions, reply.As<rt::IXmlNode>());
}

// A reply box wins over buttons: a toast never offers both.
void write_actions(const toast_document& document, const notification_template& toast) {
    const size_t buttons = std::min<size_t>(toast.actions.count, notification_template::max_actions);
    if (buttons == 0 && !toast.reply_box) return;
    auto actions = actions_element(document);
    if (!toast.reply_box) {
        for (size_t i = 0; i < buttons; ++i) write_button(document, actions, toast.actions.labels[i], i);
        return;
    }
    write_reply_box(document, actions);
}

void write_audio(const toast_document& document, const notification_template& toast) {
    if (toast.audio_src.empty() && toast.audio_option == audio_option::default_audio) return;
    auto audio = document.create(L"audio");
    if (!toast.audio_src.empty()) toast_document::set(audio, L"src", toast.audio_src);
    if (toast.audio_option == audio_option::silent) toast_document::set(audio, L"silent", L"true");
    if (toast.audio_option == audio_option::loop) toast_document::set(audio, L"loop", L"true");
    toast_document::append(document.root(), audio.As<rt::IXmlNode>());
}

void write_duration_and_scenario(const toast_document& document, const notification_template& toast) {
    auto root = document.root();
    if (toast.duration != duration::none) {
        toast_document::set(root, L"duration", toast.duration == duration::short_duration ? L"short" : L"long");
    }
    toast_document::set(root, L"scenario", toast.scenario);
}

// Web addresses are kept; anything else is a local path.
std::wstring image_uri(const std::wstring& source) {
    if (source.starts_with(L"http://") || source.starts_with(L"https://")) return source;
    return L"file:///" + source;
}

void write_app_logo(const toast_document& document, const notification_template& toast, uint32_t build_number) {
    if (!template_has_image(toast.template_type)) return;
    auto image = document.require(L"image");
    toast_document::set(image, L"src", image_uri(toast.app_logo));
    // The underscores are what this module has always written; keep them.
    if (switches_to_generic_binding(toast)) toast_document::set(image, L"placement", L"app_logo_override");
    if (build_number >= kFirstBuildWithHeroImage && toast.app_logo_crop == 1) {
        toast_document::set(image, L"hint_crop", L"circle");
    }
}

// The template's hero_flag is reserved: it changes nothing here.
void write_hero_image(const toast_document& document, const notification_template& toast, uint32_t build_number) {
    if (build_number < kFirstBuildWithHeroImage || toast.hero_image.empty()) return;
    auto image = document.create(L"image");
    toast_document::set(image, L"placement", L"hero");
    toast_document::set(image, L"src", toast.hero_image);
    toast_document::append(document.require(L"binding"), image.As<rt::IXmlNode>());
}

com_ptr<rt::IXmlDocument> windows_skeleton(int32_t template_type) {
    auto manager = rt::get_activation_factory<rt::IToastNotificationManagerStatics>(
        rt::class_name::ToastNotificationManager);
    com_ptr<rt::IXmlDocument> skeleton;
    rt::check(manager->GetTemplateContent(static_cast<rt::ToastTemplateType>(template_type), skeleton.put()));
    return skeleton;
}

}  // namespace

com_ptr<rt::IXmlDocument> render_toast_xml(const notification_template& toast, uint32_t flags, uint32_t build_number,
                                           const toast_skeleton_supplier& skeleton) {
    const toast_document document(skeleton(toast.template_type));
    if (switches_to_generic_binding(toast)) toast_document::set(document.require(L"binding"), L"template", L"ToastGeneric");
    write_texts(document, toast);
    const uint32_t rich_toast = toast_capability::major_version_above_6 | toast_capability::attribution;
    if ((flags & rich_toast) == rich_toast) {
        write_attribution(document, toast);
        write_actions(document, toast);
        write_audio(document, toast);
        write_duration_and_scenario(document, toast);
    }
    write_app_logo(document, toast, build_number);
    write_hero_image(document, toast, build_number);
    return document.get();
}

com_ptr<rt::IXmlDocument> render_toast_xml(const notification_template& toast, uint32_t flags) {
    return render_toast_xml(toast, flags, read_os_version_numbers().build, &windows_skeleton);
}

}  // namespace notification_wrapper
