// Rendering of toast templates over the skeletons Windows hands out, compared
// as XML structure with the documents they must become.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "NotificationTemplate.h"
#include "SimRuntimeControl.h"
#include "SimulationTest.h"
#include "SimToastTemplates.h"
#include "ToastCapabilities.h"
#include "ToastXmlRenderer.h"
#include "XmlDocumentText.h"

namespace {

using notification_wrapper::audio_option;
using notification_wrapper::duration;
using notification_wrapper::notification_template;

constexpr uint32_t kCurrentFlags = 2 | 4 | 8;
constexpr uint32_t kCurrentBuild = 19045;

rt::com_ptr<rt::IXmlDocument> windows_skeleton(int32_t templateType) {
    return sim_control::make_toast_template_content(templateType);
}

std::wstring render(const notification_template& toast, uint32_t flags = kCurrentFlags,
                     uint32_t build = kCurrentBuild) {
    return xml_of(notification_wrapper::render_toast_xml(toast, flags, build, &windows_skeleton));
}

// The template of a push box, before its image is applied.
notification_template push_box(const wchar_t* title, const wchar_t* body) {
    notification_template toast;
    toast.texts[0] = title;
    toast.texts[1] = body;
    toast.audio_option = audio_option::silent;
    return toast;
}

using ToastXmlRenderer = SimulationTest;

// Small: the picture is the app logo. Big: the picture is the hero, the logo
// overridden with an empty path.
TEST_F(ToastXmlRenderer, PushBoxInSmallAndBigImageMode) {
    auto smallImage = push_box(L"Title", L"Body & more");
    smallImage.app_logo = L"C:\\Temp\\notif_1.jpg";
    EXPECT_EQ(render(smallImage), normalised(LR"(
        <toast scenario="Default">
          <visual><binding template="ToastImageAndText02">
            <image id="1" src="file:///C:\Temp\notif_1.jpg"/>
            <text id="1">Title</text>
            <text id="2">Body &amp; more</text>
          </binding></visual>
          <audio silent="true"/>
        </toast>)"));
    auto bigImage = push_box(L"Title", L"Body");
    bigImage.hero_image = L"C:\\Temp\\notif_1.jpg";
    EXPECT_EQ(render(bigImage), normalised(LR"(
        <toast scenario="Default">
          <visual><binding template="ToastGeneric">
            <image id="1" src="file:///" placement="app_logo_override"/>
            <text id="1">Title</text>
            <text id="2">Body</text>
            <image placement="hero" src="C:\Temp\notif_1.jpg"/>
          </binding></visual>
          <audio silent="true"/>
        </toast>)"));
}

TEST_F(ToastXmlRenderer, TextTemplatesRenderTheirLineCountAndTouchNoImage) {
    auto toast = push_box(L"One", L"Two");
    toast.texts[2] = L"Three";
    toast.app_logo = L"C:\\a.png";
    toast.audio_option = audio_option::default_audio;
    toast.template_type = 4;
    EXPECT_EQ(render(toast), normalised(LR"(
        <toast scenario="Default"><visual><binding template="ToastText01">
          <text id="1">One</text>
        </binding></visual></toast>)"));
    toast.template_type = 7;
    EXPECT_EQ(render(toast), normalised(LR"(
        <toast scenario="Default"><visual><binding template="ToastText04">
          <text id="1">One</text><text id="2">Two</text><text id="3">Three</text>
        </binding></visual></toast>)"));
}

// Everything a rich toast can carry, on a system that may only show texts and images.
TEST_F(ToastXmlRenderer, WithoutBothOsAndAttributionFlagsOnlyTextsAndImagesAreWritten) {
    notification_template toast = push_box(L"Title", L"");
    toast.attribution = L"via Orvale";
    toast.actions.count = 1;
    toast.actions.labels[0] = L"Open";
    toast.reply_box = true;
    toast.audio_src = L"ms-winsoundevent:Notification.IM";
    toast.duration = duration::long_duration;
    toast.app_logo = L"https://cdn.example/logo.png";
    toast.app_logo_crop = 1;
    toast.hero_image = L"C:\\hero.jpg";
    const std::wstring expected = normalised(LR"(
        <toast><visual><binding template="ToastGeneric">
          <image id="1" src="https://cdn.example/logo.png" placement="app_logo_override" hint_crop="circle"/>
          <text id="1">Title</text>
          <text id="2"></text>
          <image placement="hero" src="C:\hero.jpg"/>
        </binding></visual></toast>)");
    EXPECT_EQ(render(toast, 2 | 8), expected);
    EXPECT_EQ(render(toast, 4 | 8), expected);
}

TEST_F(ToastXmlRenderer, ButtonsAttributionAudioDurationAndScenario) {
    notification_template toast = push_box(L"Title", L"Body");
    toast.template_type = 5;
    toast.attribution = L"via Orvale";
    toast.actions.count = 2;
    toast.actions.labels[0] = L"Watch";
    toast.actions.labels[1] = L"Later";
    toast.audio_src = L"ms-winsoundevent:Notification.Looping.Call";
    toast.audio_option = audio_option::loop;
    toast.duration = duration::short_duration;
    toast.scenario = L"reminder";
    EXPECT_EQ(render(toast), normalised(LR"(
        <toast duration="short" scenario="reminder">
          <visual><binding template="ToastText02">
            <text id="1">Title</text>
            <text id="2">Body</text>
            <text placement="attribution">via Orvale</text>
          </binding></visual>
          <actions>
            <action content="Watch" arguments="0"/>
            <action content="Later" arguments="1"/>
          </actions>
          <audio src="ms-winsoundevent:Notification.Looping.Call" loop="true"/>
        </toast>)"));
}

TEST_F(ToastXmlRenderer, AReplyBoxDropsTheButtons) {
    notification_template toast = push_box(L"Title", L"Body");
    toast.template_type = 5;
    toast.actions.count = 2;
    toast.actions.labels[0] = L"Watch";
    toast.actions.labels[1] = L"Later";
    toast.reply_box = true;
    toast.audio_option = audio_option::default_audio;
    toast.duration = static_cast<duration>(7);
    EXPECT_EQ(render(toast), normalised(LR"(
        <toast duration="long" scenario="Default">
          <visual><binding template="ToastText02">
            <text id="1">Title</text><text id="2">Body</text>
          </binding></visual>
          <actions>
            <input id="textBox" type="text" placeHolderContent="..."/>
            <action content="Reply" arguments="action=reply" hint-inputId="textBox"/>
          </actions>
        </toast>)"));
}

TEST_F(ToastXmlRenderer, AppLogoSourcesBecomeUris) {
    const std::vector<std::pair<std::wstring, std::wstring>> cases = {
        {L"https://cdn.example/a.png", L"https://cdn.example/a.png"},
        {L"http://cdn.example/a.png", L"http://cdn.example/a.png"},
        {L"C:\\a.png", L"file:///C:\\a.png"},
        {L"httpx.png", L"file:///httpx.png"},
        {L"", L"file:///"},
    };
    for (const auto& [logo, uri] : cases) {
        notification_template toast = push_box(L"T", L"B");
        toast.app_logo = logo;
        EXPECT_EQ(elements_named(render(toast), L"image").at(0), L"<image id=\"1\" src=\"" + uri + L"\"/>") << logo;
    }
}

TEST_F(ToastXmlRenderer, HeroImageAndCircleCropNeedBuild14393) {
    notification_template toast = push_box(L"T", L"B");
    toast.app_logo = L"C:\\logo.png";
    toast.app_logo_crop = 1;
    toast.hero_image = L"C:\\hero.jpg";
    toast.hero_flag = true;
    EXPECT_EQ(render(toast, 2 | 4, 14392), normalised(LR"(
        <toast scenario="Default">
          <visual><binding template="ToastGeneric">
            <image id="1" src="file:///C:\logo.png" placement="app_logo_override"/>
            <text id="1">T</text><text id="2">B</text>
          </binding></visual>
          <audio silent="true"/>
        </toast>)"));
    EXPECT_EQ(render(toast, 2 | 4 | 8, 14393), normalised(LR"(
        <toast scenario="Default">
          <visual><binding template="ToastGeneric">
            <image id="1" src="file:///C:\logo.png" placement="app_logo_override" hint_crop="circle"/>
            <text id="1">T</text><text id="2">B</text>
            <image placement="hero" src="C:\hero.jpg"/>
          </binding></visual>
          <audio silent="true"/>
        </toast>)"));
}

TEST_F(ToastXmlRenderer, ASkeletonWithoutATextElementForALineFailsWithEFail) {
    const auto oneTextOnly = [](int32_t) {
        return xml_document(L"<toast><visual><binding template='ToastText02'><text id='1'/></binding></visual></toast>");
    };
    notification_template toast = push_box(L"Title", L"Body");
    toast.template_type = 5;
    try {
        notification_wrapper::render_toast_xml(toast, kCurrentFlags, kCurrentBuild, oneTextOnly);
        FAIL() << "rendered without a second text element";
    } catch (const rt::hresult_error& error) {
        EXPECT_EQ(error.code(), E_FAIL);
    }
}

TEST_F(ToastXmlRenderer, TheFirstFailingXmlCallEndsTheRenderWithItsCode) {
    const std::vector<std::pair<const wchar_t*, HRESULT>> failures = {
        {L"XmlDocument.GetElementsByTagName", E_OUTOFMEMORY},
        {L"XmlDocument.CreateTextNode", E_ACCESSDENIED},
        {L"XmlElement.AppendChild", HRESULT_FROM_WIN32(ERROR_INVALID_DATA)},
        {L"XmlElement.SetAttribute", E_INVALIDARG},
        {L"XmlDocument.CreateElement", E_UNEXPECTED},
    };
    notification_template toast = push_box(L"Title", L"Body");
    toast.hero_image = L"C:\\hero.jpg";
    for (const auto& [method, failure] : failures) {
        sim_control::reset();
        sim_control::fail_next_call(method, failure);
        try {
            render(toast);
            ADD_FAILURE() << "no error from " << testing::PrintToString(std::wstring(method));
        } catch (const rt::hresult_error& error) {
            EXPECT_EQ(error.code(), failure);
            const auto calls = sim_control::call_log();
            ASSERT_FALSE(calls.empty());
            EXPECT_EQ(calls.back().substr(0, wcslen(method) + 1), std::wstring(method) + L"(")
                << "the render went on after the failure";
        }
    }
}

TEST(ToastCapabilityFlags, FollowTheMajorVersionTheAttributionSwitchAndTheBuild) {
    using notification_wrapper::toast_capability_flags;
    EXPECT_EQ(toast_capability_flags({6, 9600}, false), 0u);
    EXPECT_EQ(toast_capability_flags({6, 9600}, true), 4u);
    EXPECT_EQ(toast_capability_flags({10, 14392}, false), 2u);
    EXPECT_EQ(toast_capability_flags({10, 14393}, true), 2u | 4u | 8u);
    EXPECT_EQ(toast_capability_flags({0, 0}, true), 4u);  // RtlGetVersion missing
}

}  // namespace
