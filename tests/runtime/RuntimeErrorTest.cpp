// Message texts of hresult_error, which the module's failure lines carry.
#include <gtest/gtest.h>

#include <string>

#include "RuntimeError.h"

namespace {

// What a failing runtime call leaves on its thread.
class fake_error_info final : public rt::IRestrictedErrorInfo {
public:
    fake_error_info(HRESULT code, const wchar_t* description, const wchar_t* restrictedDescription)
        : code_(code), description_(description), restrictedDescription_(restrictedDescription) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetErrorDetails(BSTR* description, HRESULT* error, BSTR* restrictedDescription,
                                              BSTR* capabilitySid) override {
        *description = SysAllocString(description_);
        *error = code_;
        *restrictedDescription = SysAllocString(restrictedDescription_);
        *capabilitySid = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetReference(BSTR* reference) override {
        *reference = nullptr;
        return S_OK;
    }

private:
    HRESULT code_;
    const wchar_t* description_;
    const wchar_t* restrictedDescription_;
};

bool ends_with_line_break(const std::wstring& text) {
    return !text.empty() && (text.back() == L'\r' || text.back() == L'\n');
}

}  // namespace

TEST(RuntimeError, SystemTextIsTrimmedAndEmptyForUnknownCodes) {
    const rt::hresult_error known(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), known.code());
    EXPECT_FALSE(known.message().empty());
    EXPECT_FALSE(ends_with_line_break(known.message()));

    EXPECT_EQ(L"", rt::hresult_error(static_cast<HRESULT>(0xA0E71234)).message());
}

TEST(RuntimeError, ErrorInfoSpeaksOnlyForItsOwnCode) {
    fake_error_info info(E_ACCESSDENIED, L"Access is denied.", L"The package store refused the caller.\r\n");
    EXPECT_EQ(L"The package store refused the caller.", rt::hresult_error(E_ACCESSDENIED, &info).message());
    EXPECT_EQ(rt::hresult_error(E_FAIL).message(), rt::hresult_error(E_FAIL, &info).message());

    fake_error_info withoutDetail(E_ACCESSDENIED, L"Access is denied.", L"");
    EXPECT_EQ(L"Access is denied.", rt::hresult_error(E_ACCESSDENIED, &withoutDetail).message());
}
