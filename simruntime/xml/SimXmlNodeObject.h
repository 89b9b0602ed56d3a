#pragma once
// What every simulated DOM object shares: it wraps one node of a sim::xml tree
// and answers IXmlNode, IXmlNodeSelector and IXmlNodeSerializer over it. A node
// may have several wrappers; they all see the same tree.
#include <windows.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ComPtr.h"
#include "HString.h"
#include "SimCall.h"
#include "SimMethods.h"
#include "SimObject.h"
#include "SimXmlTree.h"
#include "XmlDom.h"

namespace sim::xml {

// Private to this DLL: reaches the tree node behind a DOM object that a caller
// hands back (AppendChild's argument, for one).
struct IXmlTreeNode : IInspectable {
    static constexpr GUID iid = rt::guid("7c1f3e52-9a40-4d6b-b8e1-2f5a6c0d9e37");
    virtual const node_ptr& tree_node() const = 0;
};

// The tree node behind `object`; null for null or for an object this DLL did not make.
node_ptr tree_node_of(IUnknown* object);

// A new wrapper of the kind that fits the node; empty for null.
rt::com_ptr<rt::IXmlNode> wrap(const node_ptr& item);
rt::com_ptr<rt::IXmlNodeList> new_node_list(std::vector<node_ptr> items);
// The XmlDocument object over a document node.
rt::com_ptr<rt::IXmlDocument> document_object(node_ptr document);

// `Derived` names itself in the call log: static constexpr const wchar_t* short_name ("XmlElement").
template <class Derived, class... Own>
class node_object
    : public sim::object<Derived, Own..., rt::IXmlNode, rt::IXmlNodeSelector, rt::IXmlNodeSerializer, IXmlTreeNode> {
public:
    const node_ptr& tree_node() const override { return tree_; }

    // IXmlNode
    HRESULT STDMETHODCALLTYPE get_NodeValue(IInspectable**) override { return unsupported(L"get_NodeValue"); }
    HRESULT STDMETHODCALLTYPE put_NodeValue(IInspectable*) override { return unsupported(L"put_NodeValue"); }
    HRESULT STDMETHODCALLTYPE get_NodeType(rt::NodeType* value) override {
        return call(L"get_NodeType", L"", [&]() -> HRESULT {
            if (!value) return E_POINTER;
            *value = tree_->type;
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE get_NodeName(HSTRING* value) override {
        return text_result(L"get_NodeName", value, [&] { return node_name(*tree_); });
    }
    HRESULT STDMETHODCALLTYPE get_ParentNode(rt::IXmlNode** value) override {
        return node_result(L"get_ParentNode", value, [&] { return tree_->parent.lock(); });
    }
    HRESULT STDMETHODCALLTYPE get_ChildNodes(rt::IXmlNodeList** value) override {
        return object_result(L"get_ChildNodes", L"", value, [&] { return new_node_list(tree_->children); });
    }
    HRESULT STDMETHODCALLTYPE get_FirstChild(rt::IXmlNode** value) override {
        return node_result(L"get_FirstChild", value,
                           [&] { return tree_->children.empty() ? nullptr : tree_->children.front(); });
    }
    HRESULT STDMETHODCALLTYPE get_LastChild(rt::IXmlNode** value) override {
        return node_result(L"get_LastChild", value,
                           [&] { return tree_->children.empty() ? nullptr : tree_->children.back(); });
    }
    HRESULT STDMETHODCALLTYPE get_PreviousSibling(rt::IXmlNode** value) override {
        return node_result(L"get_PreviousSibling", value, [&] { return sibling(*tree_, -1); });
    }
    HRESULT STDMETHODCALLTYPE get_NextSibling(rt::IXmlNode** value) override {
        return node_result(L"get_NextSibling", value, [&] { return sibling(*tree_, 1); });
    }
    // Only elements have attributes; Derived answers for them.
    HRESULT STDMETHODCALLTYPE get_Attributes(rt::IXmlNamedNodeMap** value) override {
        return object_result(L"get_Attributes", L"", value, [] { return rt::com_ptr<rt::IXmlNamedNodeMap>(); });
    }
    HRESULT STDMETHODCALLTYPE HasChildNodes(boolean* value) override {
        return call(L"HasChildNodes", L"", [&]() -> HRESULT {
            if (!value) return E_POINTER;
            *value = tree_->children.empty() ? 0 : 1;
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE get_OwnerDocument(rt::IXmlDocument** value) override {
        return object_result(L"get_OwnerDocument", L"", value, [&] {
            const node_ptr owner = tree_->owner.lock();
            return owner ? document_object(owner) : nullptr;
        });
    }
    HRESULT STDMETHODCALLTYPE InsertBefore(rt::IXmlNode* newChild, rt::IXmlNode* referenceChild,
                                           rt::IXmlNode** insertedChild) override {
        return insert(L"InsertBefore", newChild, referenceChild, insertedChild);
    }
    HRESULT STDMETHODCALLTYPE ReplaceChild(rt::IXmlNode*, rt::IXmlNode*, rt::IXmlNode**) override {
        return unsupported(L"ReplaceChild");
    }
    HRESULT STDMETHODCALLTYPE RemoveChild(rt::IXmlNode* childNode, rt::IXmlNode** removedChild) override {
        return call(L"RemoveChild", L"", [&]() -> HRESULT {
            if (!removedChild) return E_POINTER;
            *removedChild = nullptr;
            const node_ptr child = tree_node_of(childNode);
            if (!child) return E_INVALIDARG;
            if (HRESULT hr = remove_child(tree_, child); FAILED(hr)) return hr;
            *removedChild = rt::com_ptr<rt::IXmlNode>::copy_from(childNode).detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE AppendChild(rt::IXmlNode* newChild, rt::IXmlNode** appendedChild) override {
        return insert(L"AppendChild", newChild, nullptr, appendedChild);
    }
    HRESULT STDMETHODCALLTYPE CloneNode(boolean, rt::IXmlNode**) override { return unsupported(L"CloneNode"); }
    HRESULT STDMETHODCALLTYPE get_NamespaceUri(IInspectable**) override { return unsupported(L"get_NamespaceUri"); }
    HRESULT STDMETHODCALLTYPE get_LocalName(IInspectable**) override { return unsupported(L"get_LocalName"); }
    HRESULT STDMETHODCALLTYPE get_Prefix(IInspectable**) override { return unsupported(L"get_Prefix"); }
    HRESULT STDMETHODCALLTYPE Normalize() override { return unsupported(L"Normalize"); }
    HRESULT STDMETHODCALLTYPE put_Prefix(IInspectable*) override { return unsupported(L"put_Prefix"); }

    // IXmlNodeSelector
    HRESULT STDMETHODCALLTYPE SelectSingleNode(HSTRING xpath, rt::IXmlNode** node) override {
        return call(L"SelectSingleNode", rt::view_of(xpath), [&]() -> HRESULT {
            if (!node) return E_POINTER;
            *node = nullptr;
            std::vector<node_ptr> found;
            if (HRESULT hr = select_nodes(tree_, rt::view_of(xpath), found); FAILED(hr)) return hr;
            if (!found.empty()) *node = wrap(found.front()).detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE SelectNodes(HSTRING xpath, rt::IXmlNodeList** nodelist) override {
        return call(L"SelectNodes", rt::view_of(xpath), [&]() -> HRESULT {
            if (!nodelist) return E_POINTER;
            *nodelist = nullptr;
            std::vector<node_ptr> found;
            if (HRESULT hr = select_nodes(tree_, rt::view_of(xpath), found); FAILED(hr)) return hr;
            *nodelist = new_node_list(std::move(found)).detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE SelectSingleNodeNS(HSTRING, IInspectable*, rt::IXmlNode**) override {
        return unsupported(L"SelectSingleNodeNS");
    }
    HRESULT STDMETHODCALLTYPE SelectNodesNS(HSTRING, IInspectable*, rt::IXmlNodeList**) override {
        return unsupported(L"SelectNodesNS");
    }

    // IXmlNodeSerializer
    HRESULT STDMETHODCALLTYPE GetXml(HSTRING* outerXml) override {
        return text_result(L"GetXml", outerXml, [&] { return serialize(*tree_); });
    }
    HRESULT STDMETHODCALLTYPE get_InnerText(HSTRING* value) override {
        return text_result(L"get_InnerText", value, [&] { return inner_text(*tree_); });
    }
    HRESULT STDMETHODCALLTYPE put_InnerText(HSTRING value) override {
        return call(L"put_InnerText", rt::view_of(value), [&] { set_inner_text(tree_, rt::view_of(value)); });
    }

protected:
    explicit node_object(node_ptr tree) : tree_(std::move(tree)) {}

    // The call frame of every method: logged and failable as "<short_name>.<method>".
    template <class Body>
    HRESULT call(std::wstring_view method, std::wstring_view arguments, Body&& body) {
        const std::wstring name = std::wstring(Derived::short_name) + L"." + std::wstring(method);
        return this->run_call(name, arguments, std::forward<Body>(body));
    }

    HRESULT unsupported(std::wstring_view method) {
        return this->not_simulated(std::wstring(Derived::short_name) + L"." + std::wstring(method));
    }

    template <class Text>
    HRESULT text_result(std::wstring_view method, HSTRING* value, Text&& text) {
        return call(method, L"", [&]() -> HRESULT {
            if (!value) return E_POINTER;
            *value = rt::hstring(text()).detach();
            return S_OK;
        });
    }

    // `make` returns a com_ptr of what goes into `value`, empty for null.
    template <class Value, class Make>
    HRESULT object_result(std::wstring_view method, std::wstring_view arguments, Value** value, Make&& make) {
        return call(method, arguments, [&]() -> HRESULT {
            if (!value) return E_POINTER;
            *value = nullptr;
            *value = make().detach();
            return S_OK;
        });
    }

    template <class Find>
    HRESULT node_result(std::wstring_view method, rt::IXmlNode** value, Find&& find) {
        return object_result(method, L"", value, [&] { return wrap(find()); });
    }

    HRESULT elements_named(HSTRING tagName, rt::IXmlNodeList** elements) {
        return object_result(L"GetElementsByTagName", rt::view_of(tagName), elements,
                             [&] { return new_node_list(elements_by_tag_name(*tree_, rt::view_of(tagName))); });
    }

    const node_ptr tree_;

private:
    HRESULT insert(std::wstring_view method, rt::IXmlNode* newChild, rt::IXmlNode* referenceChild,
                   rt::IXmlNode** result) {
        const node_ptr child = tree_node_of(newChild);
        return call(method, child ? node_name(*child) : L"", [&]() -> HRESULT {
            if (!result) return E_POINTER;
            *result = nullptr;
            const node_ptr before = tree_node_of(referenceChild);
            if (!child || (referenceChild && !before)) return E_INVALIDARG;
            if (HRESULT hr = insert_child(tree_, child, before); FAILED(hr)) return hr;
            *result = rt::com_ptr<rt::IXmlNode>::copy_from(newChild).detach();
            return S_OK;
        });
    }
};

}  // namespace sim::xml
