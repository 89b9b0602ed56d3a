#pragma once
// Documents of the simulated runtime written and read as text, so that tests
// compare structures by their serialised form.
#include <string>
#include <string_view>
#include <vector>

#include "Activation.h"
#include "ClassNames.h"
#include "ComPtr.h"
#include "HString.h"
#include "RuntimeError.h"
#include "XmlDom.h"

inline rt::com_ptr<rt::IXmlDocument> new_xml_document() {
    return rt::activate_instance<rt::IXmlDocument>(rt::class_name::XmlDocument);
}

// LoadXml's result; `document` holds whatever it then holds.
inline HRESULT load_xml(const rt::com_ptr<rt::IXmlDocument>& document, std::wstring_view xml) {
    return document.As<rt::IXmlDocumentIO>()->LoadXml(rt::hstring(xml).get());
}

// A document read from `xml`; throws when it does not load.
inline rt::com_ptr<rt::IXmlDocument> xml_document(std::wstring_view xml) {
    auto document = new_xml_document();
    rt::check(load_xml(document, xml));
    return document;
}

template <class Node>
std::wstring xml_of(const rt::com_ptr<Node>& node) {
    rt::hstring text;
    rt::check(node.template As<rt::IXmlNodeSerializer>()->GetXml(text.put()));
    return text.str();
}

// `xml` as the simulated runtime writes it back: white space between elements
// gone, quotes and empty elements in one form.
inline std::wstring normalised(std::wstring_view xml) { return xml_of(xml_document(xml)); }

// Each element named `name` in `xml`, written out, in document order.
inline std::vector<std::wstring> elements_named(std::wstring_view xml, const wchar_t* name) {
    rt::com_ptr<rt::IXmlNodeList> list;
    rt::check(xml_document(xml)->GetElementsByTagName(rt::hstring(name).get(), list.put()));
    UINT32 count = 0;
    rt::check(list->get_Length(&count));
    std::vector<std::wstring> elements(count);
    for (UINT32 index = 0; index < count; ++index) {
        rt::com_ptr<rt::IXmlNode> node;
        rt::check(list->Item(index, node.put()));
        elements[index] = xml_of(node);
    }
    return elements;
}
