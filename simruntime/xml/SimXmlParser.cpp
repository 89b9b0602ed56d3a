#include "SimXmlParser.h"

#include <algorithm>
#include <string>
#include <utility>

namespace sim::xml {

namespace {

bool is_space(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

bool is_all_space(const std::wstring& text) { return std::all_of(text.begin(), text.end(), is_space); }

// Reads through the text once; every read_* member consumes what it names or
// returns the error for the first character it cannot accept.
class reader {
public:
    reader(std::wstring_view xml, node_ptr document) : xml_(xml), document_(std::move(document)) {}

    HRESULT read_document(node_ptr& root) {
        skip_declaration();
        skip_space();
        if (at_end()) return missing_root;
        if (peek() != L'<') return invalid_at_root_level;
        const node_ptr container = new_document();
        if (HRESULT hr = read_element(container); FAILED(hr)) return hr;
        skip_space();
        if (!at_end()) return peek() == L'<' ? multiple_roots : invalid_at_root_level;
        root = document_element(*container);
        remove_child(container, root);
        return S_OK;
    }

private:
    bool at_end() const { return position_ >= xml_.size(); }
    wchar_t peek() const { return xml_[position_]; }
    bool starts_with(std::wstring_view text) const { return xml_.substr(position_).starts_with(text); }

    void skip_space() {
        while (!at_end() && is_space(peek())) ++position_;
    }

    // Allowed only as the very first characters, as in XML itself.
    void skip_declaration() {
        if (!starts_with(L"<?xml")) return;
        const size_t end = xml_.find(L"?>", position_);
        position_ = end == std::wstring_view::npos ? xml_.size() : end + 2;
    }

    HRESULT read_name(std::wstring& name) {
        if (at_end()) return unexpected_end_of_file;
        if (!is_name_character(peek(), true)) return bad_start_name_char;
        size_t end = position_ + 1;
        while (end < xml_.size() && is_name_character(xml_[end], false)) ++end;
        name.assign(xml_.substr(position_, end - position_));
        position_ = end;
        return S_OK;
    }

    // At '&': appends the character the entity stands for.
    HRESULT read_entity(std::wstring& out) {
        static constexpr std::pair<std::wstring_view, wchar_t> entities[] = {
            {L"&lt;", L'<'}, {L"&gt;", L'>'}, {L"&amp;", L'&'}, {L"&quot;", L'"'}, {L"&apos;", L'\''}};
        for (const auto& [entity, character] : entities) {
            if (starts_with(entity)) {
                position_ += entity.size();
                out += character;
                return S_OK;
            }
        }
        return undefined_entity;
    }

    HRESULT read_attribute_value(std::wstring& value) {
        if (at_end()) return unexpected_end_of_file;
        const wchar_t quote = peek();
        if (quote != L'"' && quote != L'\'') return missing_quote;
        ++position_;
        while (true) {
            if (at_end()) return unexpected_end_of_file;
            const wchar_t c = peek();
            if (c == quote) {
                ++position_;
                return S_OK;
            }
            if (c == L'<') return bad_char_in_string;
            if (c == L'&') {
                if (HRESULT hr = read_entity(value); FAILED(hr)) return hr;
            } else {
                value += c;
                ++position_;
            }
        }
    }

    HRESULT read_attribute(const node_ptr& element) {
        std::wstring name, value;
        if (HRESULT hr = read_name(name); FAILED(hr)) return hr;
        skip_space();
        if (at_end()) return unexpected_end_of_file;
        if (peek() != L'=') return missing_equals;
        ++position_;
        skip_space();
        if (HRESULT hr = read_attribute_value(value); FAILED(hr)) return hr;
        if (find_attribute(*element, name)) return duplicate_attribute;
        set_attribute(element, name, value);
        return S_OK;
    }

    // At the '<' of a start tag: the element, its content and its end tag.
    HRESULT read_element(const node_ptr& parent) {
        ++position_;
        std::wstring tag;
        if (HRESULT hr = read_name(tag); FAILED(hr)) return hr;
        const node_ptr element = new_element(document_, tag);
        insert_child(parent, element, nullptr);
        while (true) {
            const bool spaced = !at_end() && is_space(peek());
            skip_space();
            if (at_end()) return unexpected_end_of_file;
            if (starts_with(L"/>")) {
                position_ += 2;
                return S_OK;
            }
            if (peek() == L'>') {
                ++position_;
                break;
            }
            if (!spaced) return bad_start_name_char;
            if (HRESULT hr = read_attribute(element); FAILED(hr)) return hr;
        }
        if (HRESULT hr = read_content(element); FAILED(hr)) return hr;
        return read_end_tag(tag);
    }

    // Up to the "</" that closes `element`.
    HRESULT read_content(const node_ptr& element) {
        std::wstring text;
        while (true) {
            if (at_end()) return unexpected_end_of_file;
            const wchar_t c = peek();
            if (c == L'<') {
                if (!is_all_space(text)) insert_child(element, new_text(document_, text), nullptr);
                text.clear();
                if (starts_with(L"</")) return S_OK;
                if (HRESULT hr = read_element(element); FAILED(hr)) return hr;
            } else if (c == L'&') {
                if (HRESULT hr = read_entity(text); FAILED(hr)) return hr;
            } else {
                text += c;
                ++position_;
            }
        }
    }

    HRESULT read_end_tag(const std::wstring& tag) {
        position_ += 2;
        std::wstring endTag;
        if (HRESULT hr = read_name(endTag); FAILED(hr)) return hr;
        if (endTag != tag) return end_tag_mismatch;
        skip_space();
        if (at_end()) return unexpected_end_of_file;
        if (peek() != L'>') return end_tag_mismatch;
        ++position_;
        return S_OK;
    }

    std::wstring_view xml_;
    node_ptr document_;
    size_t position_ = 0;
};

}  // namespace

HRESULT parse(std::wstring_view xml, const node_ptr& document, node_ptr& root) {
    return reader(xml, document).read_document(root);
}

}  // namespace sim::xml
