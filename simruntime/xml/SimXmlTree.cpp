#include "SimXmlTree.h"

#include <algorithm>

namespace sim::xml {

namespace {

node_ptr new_node(rt::NodeType type, const node_ptr& document, std::wstring_view name, std::wstring_view value) {
    auto made = std::make_shared<node>();
    made->type = type;
    made->name = name;
    made->value = value;
    made->owner = document;
    return made;
}

bool is_ancestor_or_self(const node* candidate, const node_ptr& of) {
    for (node_ptr at = of; at; at = at->parent.lock()) {
        if (at.get() == candidate) return true;
    }
    return false;
}

bool may_hold(const node& parent, const node& child) {
    if (child.type == rt::NodeType::AttributeNode || child.type == rt::NodeType::DocumentNode) return false;
    switch (parent.type) {
        case rt::NodeType::ElementNode: return true;
        case rt::NodeType::DocumentNode: return child.type == rt::NodeType::ElementNode && !document_element(parent);
        default: return false;
    }
}

void collect_elements(const node& root, std::wstring_view tag, std::vector<node_ptr>& found) {
    for (const auto& child : root.children) {
        if (child->type != rt::NodeType::ElementNode) continue;
        if (tag == L"*" || child->name == tag) found.push_back(child);
        collect_elements(*child, tag, found);
    }
}

node_ptr top_of_tree(const node_ptr& item) {
    node_ptr top = item;
    while (node_ptr up = top->parent.lock()) top = up;
    return top;
}

// One step of a path: the elements named `name` among the children of each
// node of `from`, or among all their descendants.
std::vector<node_ptr> step(const std::vector<node_ptr>& from, std::wstring_view name, bool descendants) {
    std::vector<node_ptr> found;
    for (const auto& context : from) {
        if (descendants) {
            collect_elements(*context, name, found);
            continue;
        }
        for (const auto& child : context->children) {
            if (child->type == rt::NodeType::ElementNode && (name == L"*" || child->name == name)) found.push_back(child);
        }
    }
    return found;
}

std::wstring escape(std::wstring_view text, bool inAttribute) {
    std::wstring out;
    out.reserve(text.size());
    for (wchar_t c : text) {
        if (c == L'&') {
            out += L"&amp;";
        } else if (c == L'<') {
            out += L"&lt;";
        } else if (c == L'>') {
            out += L"&gt;";
        } else if (c == L'"' && inAttribute) {
            out += L"&quot;";
        } else {
            out += c;
        }
    }
    return out;
}

std::wstring serialize_attribute(const node& attribute) {
    return attribute.name + L"=\"" + escape(attribute.value, true) + L"\"";
}

}  // namespace

node_ptr new_document() { return new_node(rt::NodeType::DocumentNode, nullptr, L"", L""); }

node_ptr new_element(const node_ptr& document, std::wstring_view tag) {
    return new_node(rt::NodeType::ElementNode, document, tag, L"");
}

node_ptr new_text(const node_ptr& document, std::wstring_view data) {
    return new_node(rt::NodeType::TextNode, document, L"", data);
}

node_ptr new_attribute(const node_ptr& document, std::wstring_view name, std::wstring_view value) {
    return new_node(rt::NodeType::AttributeNode, document, name, value);
}

bool is_name_character(wchar_t c, bool first) {
    const bool start = (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_' || c == L':' || c >= 0x80;
    return start || (!first && ((c >= L'0' && c <= L'9') || c == L'-' || c == L'.'));
}

bool is_valid_name(std::wstring_view name) {
    if (name.empty() || !is_name_character(name.front(), true)) return false;
    return std::all_of(name.begin(), name.end(), [](wchar_t c) { return is_name_character(c, false); });
}

std::wstring node_name(const node& item) {
    switch (item.type) {
        case rt::NodeType::DocumentNode: return L"#document";
        case rt::NodeType::TextNode: return L"#text";
        default: return item.name;
    }
}

HRESULT insert_child(const node_ptr& parent, const node_ptr& child, const node_ptr& before) {
    if (!may_hold(*parent, *child) || is_ancestor_or_self(child.get(), parent)) return E_INVALIDARG;
    if (before && before->parent.lock() != parent) return E_INVALIDARG;
    if (before == child) return S_OK;
    if (node_ptr previous = child->parent.lock()) remove_child(previous, child);
    const auto at = before ? std::find(parent->children.begin(), parent->children.end(), before) : parent->children.end();
    parent->children.insert(at, child);
    child->parent = parent;
    return S_OK;
}

HRESULT remove_child(const node_ptr& parent, const node_ptr& child) {
    const auto at = std::find(parent->children.begin(), parent->children.end(), child);
    if (at == parent->children.end()) return E_INVALIDARG;
    parent->children.erase(at);
    child->parent.reset();
    return S_OK;
}

node_ptr sibling(const node& item, int offset) {
    const node_ptr parent = item.parent.lock();
    if (!parent) return nullptr;
    const auto& siblings = parent->children;
    const auto at = std::find_if(siblings.begin(), siblings.end(), [&](const node_ptr& s) { return s.get() == &item; });
    const auto index = (at - siblings.begin()) + offset;
    if (at == siblings.end() || index < 0 || index >= static_cast<std::ptrdiff_t>(siblings.size())) return nullptr;
    return siblings[static_cast<size_t>(index)];
}

node_ptr document_element(const node& document) {
    for (const auto& child : document.children) {
        if (child->type == rt::NodeType::ElementNode) return child;
    }
    return nullptr;
}

node_ptr find_attribute(const node& element, std::wstring_view name) {
    for (const auto& attribute : element.attributes) {
        if (attribute->name == name) return attribute;
    }
    return nullptr;
}

void set_attribute(const node_ptr& element, std::wstring_view name, std::wstring_view value) {
    if (node_ptr existing = find_attribute(*element, name)) {
        existing->value = value;
        return;
    }
    element->attributes.push_back(new_attribute(element->owner.lock(), name, value));
}

void remove_attribute(node& element, std::wstring_view name) {
    std::erase_if(element.attributes, [&](const node_ptr& attribute) { return attribute->name == name; });
}

std::vector<node_ptr> elements_by_tag_name(const node& root, std::wstring_view tag) {
    std::vector<node_ptr> found;
    collect_elements(root, tag, found);
    return found;
}

HRESULT select_nodes(const node_ptr& context, std::wstring_view path, std::vector<node_ptr>& found) {
    std::vector<node_ptr> current{context};
    if (path.starts_with(L"/")) {
        current = {top_of_tree(context)};
        path.remove_prefix(1);
    }
    bool descendants = false;
    while (true) {
        if (path.starts_with(L"/")) {
            if (descendants) return E_INVALIDARG;  // "///"
            descendants = true;
            path.remove_prefix(1);
        }
        const std::wstring_view name = path.substr(0, path.find(L'/'));
        if (name != L"*" && !is_valid_name(name)) return E_INVALIDARG;
        current = step(current, name, descendants);
        path.remove_prefix(name.size());
        if (path.empty()) break;
        path.remove_prefix(1);
        descendants = false;
    }
    found = std::move(current);
    return S_OK;
}

std::wstring serialize(const node& item) {
    switch (item.type) {
        case rt::NodeType::TextNode: return escape(item.value, false);
        case rt::NodeType::AttributeNode: return serialize_attribute(item);
        default: break;
    }
    std::wstring content;
    for (const auto& child : item.children) content += serialize(*child);
    if (item.type != rt::NodeType::ElementNode) return content;
    std::wstring start = L"<" + item.name;
    for (const auto& attribute : item.attributes) start += L" " + serialize_attribute(*attribute);
    if (content.empty()) return start + L"/>";
    return start + L">" + content + L"</" + item.name + L">";
}

std::wstring inner_text(const node& item) {
    if (item.type == rt::NodeType::TextNode || item.type == rt::NodeType::AttributeNode) return item.value;
    std::wstring text;
    for (const auto& child : item.children) text += inner_text(*child);
    return text;
}

void set_inner_text(const node_ptr& item, std::wstring_view text) {
    if (item->type == rt::NodeType::TextNode || item->type == rt::NodeType::AttributeNode) {
        item->value = text;
        return;
    }
    for (const auto& child : item->children) child->parent.reset();
    item->children.clear();
    if (text.empty() || item->type == rt::NodeType::DocumentNode) return;
    auto child = new_text(item->owner.lock(), text);
    child->parent = item;
    item->children.push_back(std::move(child));
}

}  // namespace sim::xml
