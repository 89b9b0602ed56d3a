#pragma once
// The tree behind the simulated Windows.Data.Xml.Dom objects: plain nodes that
// the COM objects only wrap, so that any number of wrappers share one document.
#include <windows.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "XmlDom.h"

namespace sim::xml {

struct node;
using node_ptr = std::shared_ptr<node>;

struct node {
    rt::NodeType type = rt::NodeType::Invalid;
    std::wstring name;                  // tag or attribute name
    std::wstring value;                 // text data or attribute value
    std::vector<node_ptr> attributes;   // of an element, in the order first set
    std::vector<node_ptr> children;
    std::weak_ptr<node> parent;
    std::weak_ptr<node> owner;          // the document that made the node
};

node_ptr new_document();
node_ptr new_element(const node_ptr& document, std::wstring_view tag);
node_ptr new_text(const node_ptr& document, std::wstring_view data);
node_ptr new_attribute(const node_ptr& document, std::wstring_view name, std::wstring_view value);

// Letters, '_', ':' and any non-ASCII character; after the first also digits, '-' and '.'.
bool is_name_character(wchar_t c, bool first);
bool is_valid_name(std::wstring_view name);

// "#document", "#text", or the tag or attribute name.
std::wstring node_name(const node& item);

// Puts `child` before `before` (at the end when null), taking it out of where
// it was. E_INVALIDARG when it may not go there: an attribute or a document, an
// ancestor of `parent`, a child of text, a second document element, or a
// `before` that is no child of `parent`.
HRESULT insert_child(const node_ptr& parent, const node_ptr& child, const node_ptr& before);
// E_INVALIDARG when `child` is not a child of `parent`.
HRESULT remove_child(const node_ptr& parent, const node_ptr& child);

// The neighbour `offset` places away among the parent's children; null past either end.
node_ptr sibling(const node& item, int offset);
node_ptr document_element(const node& document);

// Null when the element has no such attribute.
node_ptr find_attribute(const node& element, std::wstring_view name);
// A new attribute goes last; an existing one keeps its place and gets the value.
void set_attribute(const node_ptr& element, std::wstring_view name, std::wstring_view value);
void remove_attribute(node& element, std::wstring_view name);

// Elements below `root` named `tag` ("*": all), in document order.
std::vector<node_ptr> elements_by_tag_name(const node& root, std::wstring_view tag);

// Paths of element names ("*" for any): "a/b" from `context`, "/a/b" from the
// top of its tree, "//b" anywhere in it, "a//b" anywhere below an "a".
// E_INVALIDARG for any other XPath: predicates, axes and functions are not simulated.
HRESULT select_nodes(const node_ptr& context, std::wstring_view path, std::vector<node_ptr>& found);

std::wstring serialize(const node& item);
std::wstring inner_text(const node& item);
// Text and attributes get the text as their value; others get it as their only child.
void set_inner_text(const node_ptr& item, std::wstring_view text);

}  // namespace sim::xml
