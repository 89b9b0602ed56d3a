// Windows.Data.Xml.Dom.XmlDocument: default-activatable, loads the toast subset
// of XML and makes the nodes the module inserts.
#include <windows.h>

#include <string>
#include <utility>

#include "ClassNames.h"
#include "ClassTable.h"
#include "ComPtr.h"
#include "HString.h"
#include "SimCall.h"
#include "SimObject.h"
#include "SimXmlNodeObject.h"
#include "SimXmlParser.h"
#include "SimXmlTree.h"
#include "XmlDom.h"

namespace sim::xml {

namespace {

class xml_document final : public node_object<xml_document, rt::IXmlDocument, rt::IXmlDocumentIO> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::XmlDocument;
    static constexpr const wchar_t* short_name = L"XmlDocument";

    explicit xml_document(node_ptr tree) : node_object(std::move(tree)) {}

    // IXmlDocument
    // Toasts carry no document type.
    HRESULT STDMETHODCALLTYPE get_Doctype(rt::IXmlDocumentType** value) override {
        return call(L"get_Doctype", L"", [&]() -> HRESULT {
            if (!value) return E_POINTER;
            *value = nullptr;
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE get_Implementation(rt::IXmlDomImplementation**) override {
        return unsupported(L"get_Implementation");
    }
    HRESULT STDMETHODCALLTYPE get_DocumentElement(rt::IXmlElement** value) override {
        return object_result(L"get_DocumentElement", L"", value, [&] {
            const auto root = wrap(document_element(*tree_));
            return root ? root.As<rt::IXmlElement>() : nullptr;
        });
    }
    HRESULT STDMETHODCALLTYPE CreateElement(HSTRING tagName, rt::IXmlElement** newElement) override {
        return call(L"CreateElement", rt::view_of(tagName), [&]() -> HRESULT {
            if (!newElement) return E_POINTER;
            *newElement = nullptr;
            if (!is_valid_name(rt::view_of(tagName))) return E_INVALIDARG;
            *newElement = wrap(new_element(tree_, rt::view_of(tagName))).As<rt::IXmlElement>().detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE CreateDocumentFragment(rt::IXmlDocumentFragment**) override {
        return unsupported(L"CreateDocumentFragment");
    }
    HRESULT STDMETHODCALLTYPE CreateTextNode(HSTRING data, rt::IXmlText** newTextNode) override {
        return object_result(L"CreateTextNode", rt::view_of(data), newTextNode,
                             [&] { return wrap(new_text(tree_, rt::view_of(data))).As<rt::IXmlText>(); });
    }
    HRESULT STDMETHODCALLTYPE CreateComment(HSTRING, rt::IXmlComment**) override { return unsupported(L"CreateComment"); }
    HRESULT STDMETHODCALLTYPE CreateProcessingInstruction(HSTRING, HSTRING, rt::IXmlProcessingInstruction**) override {
        return unsupported(L"CreateProcessingInstruction");
    }
    HRESULT STDMETHODCALLTYPE CreateAttribute(HSTRING name, rt::IXmlAttribute** newAttribute) override {
        return call(L"CreateAttribute", rt::view_of(name), [&]() -> HRESULT {
            if (!newAttribute) return E_POINTER;
            *newAttribute = nullptr;
            if (!is_valid_name(rt::view_of(name))) return E_INVALIDARG;
            *newAttribute = wrap(new_attribute(tree_, rt::view_of(name), L"")).As<rt::IXmlAttribute>().detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE CreateEntityReference(HSTRING, rt::IXmlEntityReference**) override {
        return unsupported(L"CreateEntityReference");
    }
    HRESULT STDMETHODCALLTYPE GetElementsByTagName(HSTRING tagName, rt::IXmlNodeList** elements) override {
        return elements_named(tagName, elements);
    }
    HRESULT STDMETHODCALLTYPE CreateCDataSection(HSTRING, rt::IXmlCDataSection**) override {
        return unsupported(L"CreateCDataSection");
    }
    HRESULT STDMETHODCALLTYPE get_DocumentUri(HSTRING*) override { return unsupported(L"get_DocumentUri"); }
    HRESULT STDMETHODCALLTYPE CreateAttributeNS(IInspectable*, HSTRING, rt::IXmlAttribute**) override {
        return unsupported(L"CreateAttributeNS");
    }
    HRESULT STDMETHODCALLTYPE CreateElementNS(IInspectable*, HSTRING, rt::IXmlElement**) override {
        return unsupported(L"CreateElementNS");
    }
    HRESULT STDMETHODCALLTYPE GetElementById(HSTRING, rt::IXmlElement**) override {
        return unsupported(L"GetElementById");
    }
    HRESULT STDMETHODCALLTYPE ImportNode(rt::IXmlNode*, boolean, rt::IXmlNode**) override {
        return unsupported(L"ImportNode");
    }

    // IXmlDocumentIO
    HRESULT STDMETHODCALLTYPE LoadXml(HSTRING xml) override {
        return call(L"LoadXml", L"", [&]() -> HRESULT {
            node_ptr root;
            if (HRESULT hr = parse(rt::view_of(xml), tree_, root); FAILED(hr)) return hr;
            while (!tree_->children.empty()) remove_child(tree_, tree_->children.back());
            return insert_child(tree_, root, nullptr);
        });
    }
    HRESULT STDMETHODCALLTYPE LoadXmlWithSettings(HSTRING, rt::IXmlLoadSettings*) override {
        return unsupported(L"LoadXmlWithSettings");
    }
    HRESULT STDMETHODCALLTYPE SaveToFileAsync(rt::IStorageFile*, rt::IAsyncAction**) override {
        return unsupported(L"SaveToFileAsync");
    }
};

class xml_document_factory final : public sim::activation_factory<xml_document_factory> {
public:
    static constexpr const wchar_t* runtime_class_name = rt::class_name::XmlDocument;

    HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable** instance) override {
        return run_call(L"XmlDocument.ActivateInstance", L"", [&]() -> HRESULT {
            if (!instance) return E_POINTER;
            *instance = document_object(new_document()).detach();
            return S_OK;
        });
    }
};

const sim::class_registration registration{rt::class_name::XmlDocument, &sim::new_factory<xml_document_factory>};

}  // namespace

rt::com_ptr<rt::IXmlDocument> document_object(node_ptr document) {
    return rt::com_ptr<rt::IXmlDocument>(sim::make<xml_document>(std::move(document)));
}

}  // namespace sim::xml
