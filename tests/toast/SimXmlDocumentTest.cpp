// The simulated XML document where a fault would hide in the toast tests,
// which compare documents by the text this same document writes and reads:
// escaping, the loader's refusals and the skeletons of the legacy toast
// templates. (Attribute order shows in every rendered toast.)
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "NotificationTemplate.h"
#include "SimRuntimeControl.h"
#include "SimulationTest.h"
#include "SimToastTemplates.h"
#include "SimXmlParser.h"
#include "XmlDocumentText.h"

namespace {

rt::com_ptr<rt::IXmlElement> create_element(const rt::com_ptr<rt::IXmlDocument>& document, const wchar_t* tag) {
    rt::com_ptr<rt::IXmlElement> element;
    rt::check(document->CreateElement(rt::hstring(tag).get(), element.put()));
    return element;
}

template <class Child>
HRESULT append(const rt::com_ptr<rt::IXmlElement>& parent, const rt::com_ptr<Child>& child) {
    rt::com_ptr<rt::IXmlNode> appended;
    return parent.As<rt::IXmlNode>()->AppendChild(child.template As<rt::IXmlNode>().get(), appended.put());
}

void set_attribute(const rt::com_ptr<rt::IXmlElement>& element, const wchar_t* name, const wchar_t* value) {
    rt::check(element->SetAttribute(rt::hstring(name).get(), rt::hstring(value).get()));
}

rt::com_ptr<rt::IXmlElement> root_of(const rt::com_ptr<rt::IXmlDocument>& document) {
    rt::com_ptr<rt::IXmlElement> root;
    rt::check(document->get_DocumentElement(root.put()));
    return root;
}

using SimXmlDocument = SimulationTest;

TEST_F(SimXmlDocument, SerialisationEscapesWhatXmlReservesAndLoadsBackTheSame) {
    auto document = xml_document(L"<toast/>");
    auto text = create_element(document, L"text");
    set_attribute(text, L"placement", L"a<b & \"c\" 'd'>");
    rt::com_ptr<rt::IXmlText> data;
    rt::check(document->CreateTextNode(rt::hstring(L"1 < 2 & \"3\" > 0").get(), data.put()));
    ASSERT_EQ(append(text, data), S_OK);
    ASSERT_EQ(append(root_of(document), text), S_OK);

    const std::wstring xml = xml_of(document);
    EXPECT_EQ(xml, L"<toast><text placement=\"a&lt;b &amp; &quot;c&quot; 'd'&gt;\">1 &lt; 2 &amp; \"3\" &gt; 0</text></toast>");
    auto reloaded = xml_document(xml);
    EXPECT_EQ(xml_of(reloaded), xml);
    rt::hstring inner;
    rt::check(reloaded.As<rt::IXmlNodeSerializer>()->get_InnerText(inner.put()));
    EXPECT_EQ(inner.str(), L"1 < 2 & \"3\" > 0");
}

TEST_F(SimXmlDocument, LoadXmlReadsBothQuotesAndTheFiveEntitiesAndDropsBlankText) {
    auto document = xml_document(L"<?xml version=\"1.0\"?>\n<a x='&apos;1&apos;' y=\"&quot;\">\n  <b>&lt;&gt;&amp;</b>\n</a>\n");
    EXPECT_EQ(xml_of(document), L"<a x=\"'1'\" y=\"&quot;\"><b>&lt;&gt;&amp;</b></a>");
}

// The module never loads text; the tests' expected documents do.
TEST_F(SimXmlDocument, MalformedTextFailsAndLeavesTheDocumentAsItWas) {
    auto document = xml_document(L"<kept/>");
    EXPECT_EQ(load_xml(document, L"<a></b>"), sim::xml::end_tag_mismatch);
    EXPECT_EQ(xml_of(document), L"<kept/>");
}

// The renderer's tests pin the skeletons they render, name and all (types 1, 4,
// 5 and 7); every one of the eight must match the module's table of lines and images.
TEST_F(SimXmlDocument, ToastSkeletonsHaveAnImageAndOneTextPerLineAsTheirTemplateSays) {
    for (int32_t type = 0; type < 8; ++type) {
        auto skeleton = sim_control::make_toast_template_content(type);
        rt::com_ptr<rt::IXmlNodeList> texts, images;
        rt::check(skeleton->GetElementsByTagName(rt::hstring(L"text").get(), texts.put()));
        rt::check(skeleton->GetElementsByTagName(rt::hstring(L"image").get(), images.put()));
        UINT32 textCount = 0, imageCount = 0;
        rt::check(texts->get_Length(&textCount));
        rt::check(images->get_Length(&imageCount));
        EXPECT_EQ(textCount, notification_wrapper::template_text_line_count(type)) << type;
        EXPECT_EQ(imageCount == 1, notification_wrapper::template_has_image(type)) << type;
    }
}

}  // namespace
