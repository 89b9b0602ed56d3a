// The toast schema's rules for the attributes the module writes, as data.
#include "ToastSchema.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "SimXmlNodeObject.h"
#include "SimXmlTree.h"

namespace sim {

namespace {

using xml::node;

// "image (Toast XML Schema)": the attributes of an image and what each may hold
// (an empty list: any value). src is "the URI of the image source, using one
// of these protocol handlers"; file:/// is for desktop applications.
struct attribute_rule {
    std::wstring_view name;
    std::vector<std::wstring_view> values;
    bool prefixes = false;  // the value has to begin with one of them
};

const attribute_rule kImageAttributes[] = {
    {L"id", {}},
    {L"src", {L"http://", L"https://", L"ms-appx:///", L"ms-appdata:///local/", L"file:///"}, true},
    {L"alt", {}},
    {L"addImageQuery", {L"true", L"false"}},
    {L"placement", {L"appLogoOverride", L"hero"}},
    {L"hint-crop", {L"circle"}},
};

// "toast (Toast XML Schema)": scenario? = "reminder" | "alarm" | "incomingCall" | "urgent".
// Only the scenario is checked on the root: the other attributes the module
// writes there (activationType, template) belong to the adaptive schema.
const attribute_rule kToastScenario{L"scenario", {L"reminder", L"alarm", L"incomingCall", L"urgent"}};

bool allowed(const attribute_rule& rule, std::wstring_view value) {
    if (rule.values.empty()) return true;
    return std::ranges::any_of(rule.values, [&](std::wstring_view allowedValue) {
        return rule.prefixes ? value.starts_with(allowedValue) : value == allowedValue;
    });
}

std::wstring described(const node& element, const node& attribute, std::wstring_view why) {
    return element.name + L" " + attribute.name + L"=\"" + attribute.value + L"\": " + std::wstring(why);
}

void check_image(const node& image, std::vector<std::wstring>& ignored) {
    for (const auto& attribute : image.attributes) {
        const auto rule = std::ranges::find(kImageAttributes, std::wstring_view(attribute->name), &attribute_rule::name);
        if (rule == std::end(kImageAttributes)) {
            ignored.push_back(described(image, *attribute, L"no such attribute"));
        } else if (!allowed(*rule, attribute->value)) {
            ignored.push_back(described(image, *attribute, L"not a value of the schema"));
        }
    }
}

}  // namespace

std::vector<std::wstring> ignored_toast_markup(rt::IXmlDocument* content) {
    std::vector<std::wstring> ignored;
    const xml::node_ptr document = xml::tree_node_of(content);
    const xml::node_ptr root = document ? xml::document_element(*document) : nullptr;
    if (!root) return ignored;
    if (const auto scenario = xml::find_attribute(*root, kToastScenario.name);
        scenario && !allowed(kToastScenario, scenario->value)) {
        ignored.push_back(described(*root, *scenario, L"not a value of the schema"));
    }
    for (const auto& image : xml::elements_by_tag_name(*root, L"image")) check_image(*image, ignored);
    return ignored;
}

}  // namespace sim
