// Windows.Data.Xml.Dom's element, text and attribute nodes and the lists a
// node hands out. None of them is activatable: they come from a document.
#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "ComPtr.h"
#include "HString.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "SimXmlNodeObject.h"
#include "SimXmlTree.h"
#include "XmlDom.h"

namespace sim::xml {

namespace {

// Item past the end is a null node, not an error, as in Windows.
HRESULT item_of(const std::vector<node_ptr>& items, UINT32 index, rt::IXmlNode** node) {
    if (!node) return E_POINTER;
    *node = index < items.size() ? wrap(items[index]).detach() : nullptr;
    return S_OK;
}

HRESULT length_of(const std::vector<node_ptr>& items, UINT32* value) {
    if (!value) return E_POINTER;
    *value = static_cast<UINT32>(items.size());
    return S_OK;
}

// A snapshot: later changes to the tree do not show in it.
class node_list final : public sim::object<node_list, rt::IXmlNodeList> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.Data.Xml.Dom.XmlNodeList";

    explicit node_list(std::vector<node_ptr> items) : items_(std::move(items)) {}

    HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) override {
        return run_call(L"XmlNodeList.get_Length", L"", [&] { return length_of(items_, value); });
    }
    HRESULT STDMETHODCALLTYPE Item(UINT32 index, rt::IXmlNode** node) override {
        return run_call(L"XmlNodeList.Item", std::to_wstring(index), [&] { return item_of(items_, index, node); });
    }

private:
    const std::vector<node_ptr> items_;
};

// The attributes of one element, as they are at each call.
class named_node_map final : public sim::object<named_node_map, rt::IXmlNamedNodeMap> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.Data.Xml.Dom.XmlNamedNodeMap";

    explicit named_node_map(node_ptr element) : element_(std::move(element)) {}

    HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) override {
        return run_call(L"XmlNamedNodeMap.get_Length", L"", [&] { return length_of(element_->attributes, value); });
    }
    HRESULT STDMETHODCALLTYPE Item(UINT32 index, rt::IXmlNode** node) override {
        return run_call(L"XmlNamedNodeMap.Item", std::to_wstring(index),
                        [&] { return item_of(element_->attributes, index, node); });
    }
    HRESULT STDMETHODCALLTYPE GetNamedItem(HSTRING name, rt::IXmlNode** node) override {
        return run_call(L"XmlNamedNodeMap.GetNamedItem", rt::view_of(name), [&]() -> HRESULT {
            if (!node) return E_POINTER;
            *node = wrap(find_attribute(*element_, rt::view_of(name))).detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE SetNamedItem(rt::IXmlNode*, rt::IXmlNode**) override {
        return not_simulated(L"XmlNamedNodeMap.SetNamedItem");
    }
    HRESULT STDMETHODCALLTYPE RemoveNamedItem(HSTRING, rt::IXmlNode**) override {
        return not_simulated(L"XmlNamedNodeMap.RemoveNamedItem");
    }
    HRESULT STDMETHODCALLTYPE GetNamedItemNS(IInspectable*, HSTRING, rt::IXmlNode**) override {
        return not_simulated(L"XmlNamedNodeMap.GetNamedItemNS");
    }
    HRESULT STDMETHODCALLTYPE RemoveNamedItemNS(IInspectable*, HSTRING, rt::IXmlNode**) override {
        return not_simulated(L"XmlNamedNodeMap.RemoveNamedItemNS");
    }
    HRESULT STDMETHODCALLTYPE SetNamedItemNS(rt::IXmlNode*, rt::IXmlNode**) override {
        return not_simulated(L"XmlNamedNodeMap.SetNamedItemNS");
    }

private:
    const node_ptr element_;
};

class xml_element final : public node_object<xml_element, rt::IXmlElement> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.Data.Xml.Dom.XmlElement";
    static constexpr const wchar_t* short_name = L"XmlElement";

    explicit xml_element(node_ptr tree) : node_object(std::move(tree)) {}

    HRESULT STDMETHODCALLTYPE get_Attributes(rt::IXmlNamedNodeMap** value) override {
        return object_result(L"get_Attributes", L"", value, [&] { return sim::make<named_node_map>(tree_); });
    }

    HRESULT STDMETHODCALLTYPE get_TagName(HSTRING* value) override {
        return text_result(L"get_TagName", value, [&] { return tree_->name; });
    }
    // An attribute the element lacks reads as the empty string.
    HRESULT STDMETHODCALLTYPE GetAttribute(HSTRING attributeName, HSTRING* attributeValue) override {
        return call(L"GetAttribute", rt::view_of(attributeName), [&]() -> HRESULT {
            if (!attributeValue) return E_POINTER;
            const node_ptr attribute = find_attribute(*tree_, rt::view_of(attributeName));
            *attributeValue = rt::hstring(attribute ? attribute->value : L"").detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE SetAttribute(HSTRING attributeName, HSTRING attributeValue) override {
        const std::wstring arguments = rt::to_wstring(attributeName) + L"=" + rt::to_wstring(attributeValue);
        return call(L"SetAttribute", arguments, [&]() -> HRESULT {
            if (!is_valid_name(rt::view_of(attributeName))) return E_INVALIDARG;
            set_attribute(tree_, rt::view_of(attributeName), rt::view_of(attributeValue));
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE RemoveAttribute(HSTRING attributeName) override {
        return call(L"RemoveAttribute", rt::view_of(attributeName),
                    [&] { remove_attribute(*tree_, rt::view_of(attributeName)); });
    }
    HRESULT STDMETHODCALLTYPE GetAttributeNode(HSTRING attributeName, rt::IXmlAttribute** attributeNode) override {
        return object_result(L"GetAttributeNode", rt::view_of(attributeName), attributeNode, [&] {
            const node_ptr found = find_attribute(*tree_, rt::view_of(attributeName));
            return found ? wrap(found).As<rt::IXmlAttribute>() : nullptr;
        });
    }
    HRESULT STDMETHODCALLTYPE SetAttributeNode(rt::IXmlAttribute*, rt::IXmlAttribute**) override {
        return unsupported(L"SetAttributeNode");
    }
    HRESULT STDMETHODCALLTYPE RemoveAttributeNode(rt::IXmlAttribute*, rt::IXmlAttribute**) override {
        return unsupported(L"RemoveAttributeNode");
    }
    HRESULT STDMETHODCALLTYPE GetElementsByTagName(HSTRING tagName, rt::IXmlNodeList** elements) override {
        return elements_named(tagName, elements);
    }
    HRESULT STDMETHODCALLTYPE SetAttributeNS(IInspectable*, HSTRING, HSTRING) override {
        return unsupported(L"SetAttributeNS");
    }
    HRESULT STDMETHODCALLTYPE GetAttributeNS(IInspectable*, HSTRING, HSTRING*) override {
        return unsupported(L"GetAttributeNS");
    }
    HRESULT STDMETHODCALLTYPE RemoveAttributeNS(IInspectable*, HSTRING) override {
        return unsupported(L"RemoveAttributeNS");
    }
    HRESULT STDMETHODCALLTYPE SetAttributeNodeNS(rt::IXmlAttribute*, rt::IXmlAttribute**) override {
        return unsupported(L"SetAttributeNodeNS");
    }
    HRESULT STDMETHODCALLTYPE GetAttributeNodeNS(IInspectable*, HSTRING, rt::IXmlAttribute**) override {
        return unsupported(L"GetAttributeNodeNS");
    }
};

class xml_text final : public node_object<xml_text, rt::IXmlText, rt::IXmlCharacterData> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.Data.Xml.Dom.XmlText";
    static constexpr const wchar_t* short_name = L"XmlText";

    explicit xml_text(node_ptr tree) : node_object(std::move(tree)) {}

    HRESULT STDMETHODCALLTYPE SplitText(UINT32, rt::IXmlText**) override { return unsupported(L"SplitText"); }

    HRESULT STDMETHODCALLTYPE get_Data(HSTRING* value) override {
        return text_result(L"get_Data", value, [&] { return tree_->value; });
    }
    HRESULT STDMETHODCALLTYPE put_Data(HSTRING value) override {
        return call(L"put_Data", rt::view_of(value), [&] { tree_->value = rt::view_of(value); });
    }
    HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) override {
        return call(L"get_Length", L"", [&]() -> HRESULT {
            if (!value) return E_POINTER;
            *value = static_cast<UINT32>(tree_->value.size());
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE SubstringData(UINT32, UINT32, HSTRING*) override { return unsupported(L"SubstringData"); }
    HRESULT STDMETHODCALLTYPE AppendData(HSTRING data) override {
        return call(L"AppendData", rt::view_of(data), [&] { tree_->value += rt::view_of(data); });
    }
    HRESULT STDMETHODCALLTYPE InsertData(UINT32, HSTRING) override { return unsupported(L"InsertData"); }
    HRESULT STDMETHODCALLTYPE DeleteData(UINT32, UINT32) override { return unsupported(L"DeleteData"); }
    HRESULT STDMETHODCALLTYPE ReplaceData(UINT32, UINT32, HSTRING) override { return unsupported(L"ReplaceData"); }
};

class xml_attribute final : public node_object<xml_attribute, rt::IXmlAttribute> {
public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.Data.Xml.Dom.XmlAttribute";
    static constexpr const wchar_t* short_name = L"XmlAttribute";

    explicit xml_attribute(node_ptr tree) : node_object(std::move(tree)) {}

    HRESULT STDMETHODCALLTYPE get_Name(HSTRING* value) override {
        return text_result(L"get_Name", value, [&] { return tree_->name; });
    }
    HRESULT STDMETHODCALLTYPE get_Specified(boolean* value) override {
        return call(L"get_Specified", L"", [&]() -> HRESULT {
            if (!value) return E_POINTER;
            *value = 1;
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE get_Value(HSTRING* value) override {
        return text_result(L"get_Value", value, [&] { return tree_->value; });
    }
    HRESULT STDMETHODCALLTYPE put_Value(HSTRING value) override {
        return call(L"put_Value", rt::view_of(value), [&] { tree_->value = rt::view_of(value); });
    }
};

template <class Object>
rt::com_ptr<rt::IXmlNode> node_interface(const node_ptr& item) {
    return rt::com_ptr<rt::IXmlNode>(sim::make<Object>(item));
}

}  // namespace

node_ptr tree_node_of(IUnknown* object) {
    if (!object) return nullptr;
    rt::com_ptr<IXmlTreeNode> access;
    if (FAILED(object->QueryInterface(rt::iid_of<IXmlTreeNode>, access.put_void()))) return nullptr;
    return access->tree_node();
}

rt::com_ptr<rt::IXmlNode> wrap(const node_ptr& item) {
    if (!item) return nullptr;
    switch (item->type) {
        case rt::NodeType::ElementNode: return node_interface<xml_element>(item);
        case rt::NodeType::TextNode: return node_interface<xml_text>(item);
        case rt::NodeType::AttributeNode: return node_interface<xml_attribute>(item);
        case rt::NodeType::DocumentNode: return document_object(item).As<rt::IXmlNode>();
        default: return nullptr;
    }
}

rt::com_ptr<rt::IXmlNodeList> new_node_list(std::vector<node_ptr> items) {
    return rt::com_ptr<rt::IXmlNodeList>(sim::make<node_list>(std::move(items)));
}

}  // namespace sim::xml
