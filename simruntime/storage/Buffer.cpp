// Windows.Storage.Streams.Buffer. Its byte access is classic COM, so it is
// answered beside the runtime interfaces the object template lists.
#include <windows.h>

#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "SimBuffer.h"
#include "SimCall.h"
#include "SimObject.h"
#include "Storage.h"

namespace {

class buffer final : public sim::object<buffer, rt::IBuffer>, public rt::IBufferByteAccess {
    using base = sim::object<buffer, rt::IBuffer>;

public:
    static constexpr const wchar_t* runtime_class_name = L"Windows.Storage.Streams.Buffer";

    explicit buffer(std::vector<BYTE> bytes)
        : bytes_(std::move(bytes)), length_(static_cast<UINT32>(bytes_.size())) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override {
        if (!result || iid != rt::iid_of<rt::IBufferByteAccess>) return base::QueryInterface(iid, result);
        *result = static_cast<rt::IBufferByteAccess*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return base::AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return base::Release(); }

    HRESULT STDMETHODCALLTYPE get_Capacity(UINT32* value) override {
        if (!value) return E_POINTER;
        return run_call(L"Buffer.get_Capacity", L"", [&] { *value = capacity(); });
    }
    HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) override {
        if (!value) return E_POINTER;
        return run_call(L"Buffer.get_Length", L"", [&] { *value = length_.load(); });
    }
    HRESULT STDMETHODCALLTYPE put_Length(UINT32 value) override {
        return run_call(L"Buffer.put_Length", std::to_wstring(value), [&]() -> HRESULT {
            if (value > capacity()) return E_INVALIDARG;
            length_ = value;
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE Buffer(BYTE** value) override {
        if (!value) return E_POINTER;
        return run_call(L"Buffer.Buffer", L"", [&] { *value = bytes_.data(); });
    }

private:
    UINT32 capacity() const { return static_cast<UINT32>(bytes_.size()); }

    std::vector<BYTE> bytes_;
    std::atomic<UINT32> length_;
};

}  // namespace

namespace sim {

rt::com_ptr<rt::IBuffer> make_buffer(std::vector<BYTE> bytes) { return make<buffer>(std::move(bytes)); }

}  // namespace sim
