#pragma once
// Reads the toast XML the simulated notification centre recorded: the start
// tags of the elements and their attributes, in document order.
#include <string>
#include <utility>
#include <vector>

struct XmlStartTag {
    std::wstring name;
    std::vector<std::pair<std::wstring, std::wstring>> attributes;  // in written order, values unescaped

    bool Has(const std::wstring& attribute) const;
    // Empty when absent.
    std::wstring Attribute(const std::wstring& attribute) const;
    std::vector<std::wstring> AttributeNames() const;
};

std::vector<XmlStartTag> StartTagsNamed(const std::wstring& xml, const std::wstring& name);
// The text of each element named `name` (which holds nothing but text).
std::vector<std::wstring> TextsOf(const std::wstring& xml, const std::wstring& name);
