#include "ToastXmlText.h"

#include <cwchar>
#include <regex>

namespace {

std::wstring Unescaped(std::wstring text) {
    static const std::pair<const wchar_t*, const wchar_t*> kEntities[] = {
        {L"&lt;", L"<"}, {L"&gt;", L">"}, {L"&quot;", L"\""}, {L"&apos;", L"'"}, {L"&amp;", L"&"}};
    for (const auto& [entity, character] : kEntities) {
        for (size_t at = text.find(entity); at != std::wstring::npos; at = text.find(entity, at + 1)) {
            text.replace(at, std::wcslen(entity), character);
        }
    }
    return text;
}

}  // namespace

bool XmlStartTag::Has(const std::wstring& attribute) const {
    for (const auto& [name, value] : attributes) {
        if (name == attribute) return true;
    }
    return false;
}

std::wstring XmlStartTag::Attribute(const std::wstring& attribute) const {
    for (const auto& [name, value] : attributes) {
        if (name == attribute) return value;
    }
    return {};
}

std::vector<std::wstring> XmlStartTag::AttributeNames() const {
    std::vector<std::wstring> names;
    for (const auto& [name, value] : attributes) names.push_back(name);
    return names;
}

std::vector<XmlStartTag> StartTagsNamed(const std::wstring& xml, const std::wstring& name) {
    static const std::wregex kStartTag(LR"re(<([\w:-]+)((?:\s+[\w:-]+\s*=\s*"[^"]*")*)\s*/?>)re");
    static const std::wregex kAttribute(LR"re(([\w:-]+)\s*=\s*"([^"]*)")re");
    std::vector<XmlStartTag> tags;
    for (std::wsregex_iterator it(xml.begin(), xml.end(), kStartTag), end; it != end; ++it) {
        if ((*it)[1] != name) continue;
        XmlStartTag tag{name, {}};
        const std::wstring attributes = (*it)[2];
        for (std::wsregex_iterator a(attributes.begin(), attributes.end(), kAttribute); a != end; ++a) {
            tag.attributes.emplace_back((*a)[1], Unescaped((*a)[2]));
        }
        tags.push_back(std::move(tag));
    }
    return tags;
}

std::vector<std::wstring> TextsOf(const std::wstring& xml, const std::wstring& name) {
    const std::wregex element(L"<" + name + LR"((?:\s[^>]*[^/])?>([^<]*)</)" + name + L">");
    std::vector<std::wstring> texts;
    for (std::wsregex_iterator it(xml.begin(), xml.end(), element), end; it != end; ++it) {
        texts.push_back(Unescaped((*it)[1]));
    }
    return texts;
}
