#pragma once
// Reads the toast XML the simulated notification centre recorded through the
// simulated document: the elements of a name and their attributes, in document order.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

struct XmlStartTag {
    std::wstring name;
    std::vector<std::pair<std::wstring, std::wstring>> attributes;  // in written order, values unescaped

    bool Has(const std::wstring& attribute) const {
        const auto names = AttributeNames();
        return std::find(names.begin(), names.end(), attribute) != names.end();
    }
    // Empty when absent.
    std::wstring Attribute(const std::wstring& attribute) const;
    std::vector<std::wstring> AttributeNames() const {
        std::vector<std::wstring> names;
        for (const auto& attribute : attributes) names.push_back(attribute.first);
        return names;
    }
};

std::vector<XmlStartTag> StartTagsNamed(const std::wstring& xml, const std::wstring& name);
// The text of each element named `name` (which holds nothing but text).
std::vector<std::wstring> TextsOf(const std::wstring& xml, const std::wstring& name);
