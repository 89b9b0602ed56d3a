#include "ToastXmlText.h"

#include "XmlDocumentText.h"

namespace {

template <class List>
std::vector<rt::com_ptr<rt::IXmlNode>> ItemsOf(const rt::com_ptr<List>& list) {
    UINT32 count = 0;
    rt::check(list->get_Length(&count));
    std::vector<rt::com_ptr<rt::IXmlNode>> items(count);
    for (UINT32 i = 0; i < count; ++i) rt::check(list->Item(i, items[i].put()));
    return items;
}

std::vector<rt::com_ptr<rt::IXmlNode>> ElementsNamed(const std::wstring& xml, const std::wstring& name) {
    rt::com_ptr<rt::IXmlNodeList> elements;
    rt::check(xml_document(xml)->GetElementsByTagName(rt::hstring(name).get(), elements.put()));
    return ItemsOf(elements);
}

std::wstring TextOf(const rt::com_ptr<rt::IXmlNode>& node) {
    rt::hstring text;
    rt::check(node.As<rt::IXmlNodeSerializer>()->get_InnerText(text.put()));
    return text.str();
}

}  // namespace

std::wstring XmlStartTag::Attribute(const std::wstring& attribute) const {
    for (const auto& [name, value] : attributes) {
        if (name == attribute) return value;
    }
    return {};
}

std::vector<XmlStartTag> StartTagsNamed(const std::wstring& xml, const std::wstring& name) {
    std::vector<XmlStartTag> tags;
    for (const auto& element : ElementsNamed(xml, name)) {
        rt::com_ptr<rt::IXmlNamedNodeMap> attributes;
        rt::check(element->get_Attributes(attributes.put()));
        XmlStartTag& tag = tags.emplace_back(XmlStartTag{name, {}});
        for (const auto& attribute : ItemsOf(attributes)) {
            rt::hstring attributeName;
            rt::check(attribute->get_NodeName(attributeName.put()));
            tag.attributes.emplace_back(attributeName.str(), TextOf(attribute));
        }
    }
    return tags;
}

std::vector<std::wstring> TextsOf(const std::wstring& xml, const std::wstring& name) {
    std::vector<std::wstring> texts;
    for (const auto& element : ElementsNamed(xml, name)) texts.push_back(TextOf(element));
    return texts;
}
