// The simulated XML document where a fault would hide in the toast tests:
// escaping, the loader's refusals, attribute order, tree edits, and the
// skeletons of the legacy toast templates.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "NotificationTemplate.h"
#include "SimRuntimeControl.h"
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
    return parent.As<rt::IXmlNode>()->AppendChild(child ? child.template As<rt::IXmlNode>().get() : nullptr,
                                                  appended.put());
}

void set_attribute(const rt::com_ptr<rt::IXmlElement>& element, const wchar_t* name, const wchar_t* value) {
    rt::check(element->SetAttribute(rt::hstring(name).get(), rt::hstring(value).get()));
}

std::wstring attribute_of(const rt::com_ptr<rt::IXmlElement>& element, const wchar_t* name) {
    rt::hstring value;
    rt::check(element->GetAttribute(rt::hstring(name).get(), value.put()));
    return value.str();
}

rt::com_ptr<rt::IXmlElement> root_of(const rt::com_ptr<rt::IXmlDocument>& document) {
    rt::com_ptr<rt::IXmlElement> root;
    rt::check(document->get_DocumentElement(root.put()));
    return root;
}

class SimXmlDocument : public ::testing::Test {
protected:
    void SetUp() override { sim_control::reset(); }
};

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

TEST_F(SimXmlDocument, MalformedTextFailsWithAnXmlErrorAndLeavesTheDocumentAsItWas) {
    using namespace sim::xml;
    const std::vector<std::pair<std::wstring, HRESULT>> cases = {
        {L"", missing_root},
        {L"  text", invalid_at_root_level},
        {L"<a/>tail", invalid_at_root_level},
        {L"<a/><b/>", multiple_roots},
        {L"<a>", unexpected_end_of_file},
        {L"<a x='1", unexpected_end_of_file},
        {L"<a></b>", end_tag_mismatch},
        {L"<a x=1/>", missing_quote},
        {L"<a x/>", missing_equals},
        {L"<a x='1'y='2'/>", bad_start_name_char},
        {L"<1a/>", bad_start_name_char},
        {L"<a x='1' x='2'/>", duplicate_attribute},
        {L"<a x='<'/>", bad_char_in_string},
        {L"<a>&nbsp;</a>", undefined_entity},
        {L"<a>&#38;</a>", undefined_entity},
        {L"<a><!-- note --></a>", bad_start_name_char},
    };
    auto document = xml_document(L"<kept/>");
    for (const auto& [xml, error] : cases) {
        EXPECT_EQ(load_xml(document, xml), error) << testing::PrintToString(xml);
        EXPECT_EQ(xml_of(document), L"<kept/>");
    }
}

TEST_F(SimXmlDocument, SetAttributeKeepsTheOrderOfFirstSettingAndReplacesInPlace) {
    auto document = xml_document(L"<image id='1' src=''/>");
    auto image = root_of(document);
    set_attribute(image, L"placement", L"hero");
    set_attribute(image, L"src", L"file:///C:\\a.png");
    EXPECT_EQ(xml_of(document), L"<image id=\"1\" src=\"file:///C:\\a.png\" placement=\"hero\"/>");
    EXPECT_EQ(attribute_of(image, L"src"), L"file:///C:\\a.png");
    EXPECT_EQ(attribute_of(image, L"alt"), L"");
    EXPECT_EQ(image->SetAttribute(rt::hstring(L"").get(), rt::hstring(L"x").get()), E_INVALIDARG);
    EXPECT_EQ(image->SetAttribute(rt::hstring(L"a b").get(), rt::hstring(L"x").get()), E_INVALIDARG);
}

TEST_F(SimXmlDocument, ElementsAreFoundInDocumentOrderAndAListEndsInANullItem) {
    auto document = xml_document(L"<t><text id='1'><text id='2'/></text><b><text id='3'/></b></t>");
    rt::com_ptr<rt::IXmlNodeList> texts;
    rt::check(document->GetElementsByTagName(rt::hstring(L"text").get(), texts.put()));
    UINT32 length = 0;
    rt::check(texts->get_Length(&length));
    ASSERT_EQ(length, 3u);
    for (UINT32 i = 0; i < length; ++i) {
        rt::com_ptr<rt::IXmlNode> item;
        rt::check(texts->Item(i, item.put()));
        EXPECT_EQ(attribute_of(item.As<rt::IXmlElement>(), L"id"), std::to_wstring(i + 1));
    }
    rt::com_ptr<rt::IXmlNode> past;
    EXPECT_EQ(texts->Item(length, past.put()), S_OK);
    EXPECT_FALSE(past);
}

TEST_F(SimXmlDocument, AppendChildMovesANodeAndRefusesWhatCannotGoThere) {
    auto document = xml_document(L"<toast><visual/><actions/></toast>");
    rt::com_ptr<rt::IXmlNode> visual, actions;
    rt::check(document.As<rt::IXmlNodeSelector>()->SelectSingleNode(rt::hstring(L"/toast/visual").get(), visual.put()));
    rt::check(root_of(document).As<rt::IXmlNodeSelector>()->SelectSingleNode(rt::hstring(L"actions").get(),
                                                                            actions.put()));
    ASSERT_TRUE(visual && actions);
    EXPECT_EQ(append(actions.As<rt::IXmlElement>(), visual), S_OK);
    EXPECT_EQ(xml_of(document), L"<toast><actions><visual/></actions></toast>");

    EXPECT_EQ(append(visual.As<rt::IXmlElement>(), actions), E_INVALIDARG) << "its own ancestor";
    EXPECT_EQ(append(visual.As<rt::IXmlElement>(), rt::com_ptr<rt::IXmlNode>()), E_INVALIDARG);
    rt::com_ptr<rt::IXmlNode> appended;
    EXPECT_EQ(document.As<rt::IXmlNode>()->AppendChild(create_element(document, L"second").As<rt::IXmlNode>().get(),
                                                       appended.put()),
              E_INVALIDARG)
        << "a second document element";
    rt::com_ptr<rt::IXmlElement> unnamed;
    EXPECT_EQ(document->CreateElement(rt::hstring(L"").get(), unnamed.put()), E_INVALIDARG);
    EXPECT_EQ(xml_of(document), L"<toast><actions><visual/></actions></toast>");
}

TEST_F(SimXmlDocument, SelectsSimplePathsAndRefusesOtherXPath) {
    auto document = xml_document(L"<toast><visual><binding><text id='1'/><text id='2'/></binding></visual></toast>");
    const auto selector = document.As<rt::IXmlNodeSelector>();
    rt::com_ptr<rt::IXmlNodeList> texts;
    rt::check(selector->SelectNodes(rt::hstring(L"//text").get(), texts.put()));
    UINT32 length = 0;
    rt::check(texts->get_Length(&length));
    EXPECT_EQ(length, 2u);
    rt::com_ptr<rt::IXmlNode> missing;
    EXPECT_EQ(selector->SelectSingleNode(rt::hstring(L"/toast/actions").get(), missing.put()), S_OK);
    EXPECT_FALSE(missing);
    rt::com_ptr<rt::IXmlNode> filtered;
    EXPECT_EQ(selector->SelectSingleNode(rt::hstring(L"//text[@id='2']").get(), filtered.put()), E_INVALIDARG);
}

TEST_F(SimXmlDocument, AnInjectedFailureFailsOneCallOnly) {
    auto document = new_xml_document();
    sim_control::fail_next_call(L"XmlDocument.CreateElement", E_OUTOFMEMORY);
    rt::com_ptr<rt::IXmlElement> element;
    EXPECT_EQ(document->CreateElement(rt::hstring(L"toast").get(), element.put()), E_OUTOFMEMORY);
    EXPECT_EQ(document->CreateElement(rt::hstring(L"toast").get(), element.put()), S_OK);
    EXPECT_EQ(sim_control::call_count(L"XmlDocument.CreateElement"), 2u);
}

TEST_F(SimXmlDocument, ToastSkeletonsHaveTheTemplateNameAnImageFirstAndOneTextPerLine) {
    EXPECT_EQ(xml_of(sim_control::make_toast_template_content(1)),
              normalised(L"<toast><visual><binding template=\"ToastImageAndText02\"><image id=\"1\" src=\"\"/>"
                         L"<text id=\"1\"></text><text id=\"2\"></text></binding></visual></toast>"));
    EXPECT_EQ(xml_of(sim_control::make_toast_template_content(7)),
              normalised(L"<toast><visual><binding template=\"ToastText04\"><text id=\"1\"/><text id=\"2\"/>"
                         L"<text id=\"3\"/></binding></visual></toast>"));
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
    for (int32_t type : {-1, 8}) {
        rt::com_ptr<rt::IXmlDocument> none;
        EXPECT_EQ(SIM_CONTROL_FUNCTION(SimRuntime_MakeToastTemplateContent)(type, none.put()), E_INVALIDARG);
    }
}

}  // namespace
