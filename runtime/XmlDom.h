#pragma once
// Windows.Data.Xml.Dom: the document, its nodes and lists. A node object
// implements IXmlNode, IXmlNodeSelector and IXmlNodeSerializer beside its own
// interface; each is reached through QueryInterface.
#include <windows.h>
#include <hstring.h>
#include <inspectable.h>

#include <cstdint>

#include "Foundation.h"
#include "Guid.h"
#include "Signature.h"

namespace rt {

enum class NodeType : std::int32_t {
    Invalid = 0,
    ElementNode = 1,
    AttributeNode = 2,
    TextNode = 3,
    DataSectionNode = 4,
    EntityReferenceNode = 5,
    EntityNode = 6,
    ProcessingInstructionNode = 7,
    CommentNode = 8,
    DocumentNode = 9,
    DocumentTypeNode = 10,
    DocumentFragmentNode = 11,
    NotationNode = 12,
};
template <> struct signature<NodeType> : enum_signature<"Windows.Data.Xml.Dom.NodeType", NodeType> {};

// Only passed through here; nothing calls into them.
struct IXmlDocumentType;
struct IXmlDomImplementation;
struct IXmlProcessingInstruction;
struct IStorageFile;
struct IBuffer;

struct IXmlDocument;
struct IXmlElement;
struct IXmlNodeList;
struct IXmlNamedNodeMap;
struct IXmlAttribute;
struct IXmlText;

struct IXmlNode : IInspectable {
    static constexpr GUID iid = guid("1c741d59-2122-47d5-a856-83f3d4214875");
    virtual HRESULT STDMETHODCALLTYPE get_NodeValue(IInspectable** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_NodeValue(IInspectable* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_NodeType(NodeType* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_NodeName(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ParentNode(IXmlNode** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ChildNodes(IXmlNodeList** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_FirstChild(IXmlNode** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_LastChild(IXmlNode** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_PreviousSibling(IXmlNode** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_NextSibling(IXmlNode** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Attributes(IXmlNamedNodeMap** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE HasChildNodes(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_OwnerDocument(IXmlDocument** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE InsertBefore(IXmlNode* newChild, IXmlNode* referenceChild,
                                                   IXmlNode** insertedChild) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReplaceChild(IXmlNode* newChild, IXmlNode* referenceChild,
                                                   IXmlNode** previousChild) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveChild(IXmlNode* childNode, IXmlNode** removedChild) = 0;
    virtual HRESULT STDMETHODCALLTYPE AppendChild(IXmlNode* newChild, IXmlNode** appendedChild) = 0;
    virtual HRESULT STDMETHODCALLTYPE CloneNode(boolean deep, IXmlNode** newNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_NamespaceUri(IInspectable** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_LocalName(IInspectable** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Prefix(IInspectable** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Normalize() = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Prefix(IInspectable* value) = 0;
};

struct IXmlNodeSelector : IInspectable {
    static constexpr GUID iid = guid("63dbba8b-d0db-4fe1-b745-f9433afdc25b");
    virtual HRESULT STDMETHODCALLTYPE SelectSingleNode(HSTRING xpath, IXmlNode** node) = 0;
    virtual HRESULT STDMETHODCALLTYPE SelectNodes(HSTRING xpath, IXmlNodeList** nodelist) = 0;
    virtual HRESULT STDMETHODCALLTYPE SelectSingleNodeNS(HSTRING xpath, IInspectable* namespaces, IXmlNode** node) = 0;
    virtual HRESULT STDMETHODCALLTYPE SelectNodesNS(HSTRING xpath, IInspectable* namespaces, IXmlNodeList** nodelist) = 0;
};

struct IXmlNodeSerializer : IInspectable {
    static constexpr GUID iid = guid("5cc5b382-e6dd-4991-abef-06d8d2e7bd0c");
    virtual HRESULT STDMETHODCALLTYPE GetXml(HSTRING* outerXml) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_InnerText(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_InnerText(HSTRING value) = 0;
};

// Also implements IVectorView<IXmlNode> and IIterable<IXmlNode>.
struct IXmlNodeList : IInspectable {
    static constexpr GUID iid = guid("8c60ad77-83a4-4ec1-9c54-7ba429e13da6");
    virtual HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Item(UINT32 index, IXmlNode** node) = 0;
};

// Also implements IVectorView<IXmlNode> and IIterable<IXmlNode>.
struct IXmlNamedNodeMap : IInspectable {
    static constexpr GUID iid = guid("b3a69eb0-aab0-4b82-a6fa-b1453f7c021b");
    virtual HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Item(UINT32 index, IXmlNode** node) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNamedItem(HSTRING name, IXmlNode** node) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetNamedItem(IXmlNode* node, IXmlNode** previousNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveNamedItem(HSTRING name, IXmlNode** previousNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetNamedItemNS(IInspectable* namespaceUri, HSTRING name, IXmlNode** node) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveNamedItemNS(IInspectable* namespaceUri, HSTRING name,
                                                        IXmlNode** previousNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetNamedItemNS(IXmlNode* node, IXmlNode** previousNode) = 0;
};

struct IXmlAttribute : IInspectable {
    static constexpr GUID iid = guid("ac144aa4-b4f1-4db6-b206-8a22c308db0a");
    virtual HRESULT STDMETHODCALLTYPE get_Name(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Specified(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Value(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Value(HSTRING value) = 0;
};

struct IXmlElement : IInspectable {
    static constexpr GUID iid = guid("2dfb8a1f-6b10-4ef8-9f83-efcce8faec37");
    virtual HRESULT STDMETHODCALLTYPE get_TagName(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAttribute(HSTRING attributeName, HSTRING* attributeValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAttribute(HSTRING attributeName, HSTRING attributeValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveAttribute(HSTRING attributeName) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAttributeNode(HSTRING attributeName, IXmlAttribute** attributeNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAttributeNode(IXmlAttribute* newAttribute,
                                                       IXmlAttribute** previousAttribute) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveAttributeNode(IXmlAttribute* attributeNode,
                                                          IXmlAttribute** removedAttribute) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetElementsByTagName(HSTRING tagName, IXmlNodeList** elements) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAttributeNS(IInspectable* namespaceUri, HSTRING qualifiedName,
                                                     HSTRING value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAttributeNS(IInspectable* namespaceUri, HSTRING localName,
                                                     HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveAttributeNS(IInspectable* namespaceUri, HSTRING localName) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAttributeNodeNS(IXmlAttribute* newAttribute,
                                                         IXmlAttribute** previousAttribute) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAttributeNodeNS(IInspectable* namespaceUri, HSTRING localName,
                                                         IXmlAttribute** previousAttribute) = 0;
};

struct IXmlCharacterData : IInspectable {
    static constexpr GUID iid = guid("132e42ab-4e36-4df6-b1c8-0ce62fd88b26");
    virtual HRESULT STDMETHODCALLTYPE get_Data(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Data(HSTRING value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE SubstringData(UINT32 offset, UINT32 count, HSTRING* data) = 0;
    virtual HRESULT STDMETHODCALLTYPE AppendData(HSTRING data) = 0;
    virtual HRESULT STDMETHODCALLTYPE InsertData(UINT32 offset, HSTRING data) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteData(UINT32 offset, UINT32 count) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReplaceData(UINT32 offset, UINT32 count, HSTRING data) = 0;
};

// Also implements IXmlCharacterData.
struct IXmlText : IInspectable {
    static constexpr GUID iid = guid("f931a4cb-308d-4760-a1d5-43b67450ac7e");
    virtual HRESULT STDMETHODCALLTYPE SplitText(UINT32 offset, IXmlText** secondPart) = 0;
};

// Default interfaces without methods of their own.
struct IXmlComment : IInspectable {
    static constexpr GUID iid = guid("bca474d5-b61f-4611-9cac-2e92e3476d47");
};
struct IXmlCDataSection : IInspectable {
    static constexpr GUID iid = guid("4d04b46f-c8bd-45b4-8899-0400d7c2c60f");
};
struct IXmlDocumentFragment : IInspectable {
    static constexpr GUID iid = guid("e2ea6a96-0c21-44a5-8bc9-9e4a262708ec");
};
struct IXmlEntityReference : IInspectable {
    static constexpr GUID iid = guid("2e2f47bc-c3d0-4ccf-bb86-0ab8c36a61cf");
};

struct IXmlDocument : IInspectable {
    static constexpr GUID iid = guid("f7f3a506-1e87-42d6-bcfb-b8c809fa5494");
    virtual HRESULT STDMETHODCALLTYPE get_Doctype(IXmlDocumentType** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Implementation(IXmlDomImplementation** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DocumentElement(IXmlElement** value) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateElement(HSTRING tagName, IXmlElement** newElement) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDocumentFragment(IXmlDocumentFragment** newDocumentFragment) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTextNode(HSTRING data, IXmlText** newTextNode) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateComment(HSTRING data, IXmlComment** newComment) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateProcessingInstruction(HSTRING target, HSTRING data,
                                                                  IXmlProcessingInstruction** newProcessingInstruction) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateAttribute(HSTRING name, IXmlAttribute** newAttribute) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateEntityReference(HSTRING name, IXmlEntityReference** newEntityReference) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetElementsByTagName(HSTRING tagName, IXmlNodeList** elements) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateCDataSection(HSTRING data, IXmlCDataSection** newCDataSection) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DocumentUri(HSTRING* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateAttributeNS(IInspectable* namespaceUri, HSTRING qualifiedName,
                                                        IXmlAttribute** newAttribute) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateElementNS(IInspectable* namespaceUri, HSTRING qualifiedName,
                                                      IXmlElement** newElement) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetElementById(HSTRING elementId, IXmlElement** element) = 0;
    virtual HRESULT STDMETHODCALLTYPE ImportNode(IXmlNode* node, boolean deep, IXmlNode** newNode) = 0;
};

struct IXmlLoadSettings : IInspectable {
    static constexpr GUID iid = guid("58aa07a8-fed6-46f7-b4c5-fb1ba72108d6");
    virtual HRESULT STDMETHODCALLTYPE get_MaxElementDepth(UINT32* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_MaxElementDepth(UINT32 value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ProhibitDtd(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ProhibitDtd(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ResolveExternals(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ResolveExternals(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ValidateOnParse(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ValidateOnParse(boolean value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ElementContentWhiteSpace(boolean* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ElementContentWhiteSpace(boolean value) = 0;
};

struct IXmlDocumentIO : IInspectable {
    static constexpr GUID iid = guid("6cd0e74e-ee65-4489-9ebf-ca43e87ba637");
    virtual HRESULT STDMETHODCALLTYPE LoadXml(HSTRING xml) = 0;
    virtual HRESULT STDMETHODCALLTYPE LoadXmlWithSettings(HSTRING xml, IXmlLoadSettings* loadSettings) = 0;
    virtual HRESULT STDMETHODCALLTYPE SaveToFileAsync(IStorageFile* file, IAsyncAction** asyncInfo) = 0;
};

struct IXmlDocumentIO2 : IInspectable {
    static constexpr GUID iid = guid("5d034661-7bd8-4ad5-9ebf-81e6347263b1");
    virtual HRESULT STDMETHODCALLTYPE LoadXmlFromBuffer(IBuffer* buffer) = 0;
    virtual HRESULT STDMETHODCALLTYPE LoadXmlFromBufferWithSettings(IBuffer* buffer, IXmlLoadSettings* loadSettings) = 0;
};

}  // namespace rt
