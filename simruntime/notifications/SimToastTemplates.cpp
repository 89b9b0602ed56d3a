#include "SimToastTemplates.h"

#include <string>

#include "RuntimeError.h"
#include "SimXmlNodeObject.h"
#include "SimXmlParser.h"
#include "SimXmlTree.h"

namespace {

struct toast_template {
    const wchar_t* name;
    bool image;
    int lines;
};

// Indexed by ToastTemplateType.
constexpr toast_template templates[] = {
    {L"ToastImageAndText01", true, 1}, {L"ToastImageAndText02", true, 2}, {L"ToastImageAndText03", true, 2},
    {L"ToastImageAndText04", true, 3}, {L"ToastText01", false, 1},        {L"ToastText02", false, 2},
    {L"ToastText03", false, 2},        {L"ToastText04", false, 3},
};

std::wstring skeleton_xml(const toast_template& shape) {
    std::wstring xml = L"<toast><visual><binding template=\"" + std::wstring(shape.name) + L"\">";
    if (shape.image) xml += L"<image id=\"1\" src=\"\"/>";
    for (int line = 1; line <= shape.lines; ++line) xml += L"<text id=\"" + std::to_wstring(line) + L"\"></text>";
    return xml + L"</binding></visual></toast>";
}

}  // namespace

HRESULT MakeToastTemplateContent(int32_t templateType, rt::IXmlDocument** document) {
    if (!document) return E_POINTER;
    *document = nullptr;
    if (templateType < 0 || templateType >= static_cast<int32_t>(std::size(templates))) return E_INVALIDARG;
    return rt::hresult_from([&]() -> HRESULT {
        const sim::xml::node_ptr tree = sim::xml::new_document();
        sim::xml::node_ptr root;
        if (HRESULT hr = sim::xml::parse(skeleton_xml(templates[templateType]), tree, root); FAILED(hr)) return hr;
        sim::xml::insert_child(tree, root, nullptr);
        *document = sim::xml::document_object(tree).detach();
        return S_OK;
    });
}

extern "C" __declspec(dllexport) HRESULT SimRuntime_MakeToastTemplateContent(INT32 templateType,
                                                                             rt::IXmlDocument** document) {
    return MakeToastTemplateContent(templateType, document);
}
