#include "Apartments.h"

#include <windows.h>
#include <objbase.h>
#include <objidl.h>

#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "ComPtr.h"
#include "Guid.h"
#include "UniqueHandle.h"
#include "Violations.h"

namespace sim {

class apartment {
public:
    apartment(bool singleThreaded, DWORD thread) : single_threaded(singleThreaded), thread(thread) {}

    std::wstring description() const {
        return single_threaded ? L"the single-threaded apartment of thread " + std::to_wstring(thread)
                               : std::wstring(L"the multithreaded apartment");
    }

    const bool single_threaded;
    const DWORD thread;  // of a single-threaded apartment
    std::atomic<bool> ended{false};
    // A single-threaded apartment's message-only window, through which
    // deliveries reach its thread; owned by that thread. Guarded by the lock.
    HWND window = nullptr;
    std::deque<std::function<void()>> deliveries;
};

namespace {

// "CoDisconnectObject function": calls on a disconnected object return this.
constexpr HRESULT kObjectNotConnected = CO_E_OBJNOTCONNECTED;
constexpr UINT kDeliverMessage = WM_APP + 0x51;
constexpr wchar_t kWindowClass[] = L"SimRuntimeApartmentDelivery";

struct apartment_table {
    std::mutex mutex;
    apartment_ref multithreaded;
    std::map<DWORD, apartment_ref> single_threaded;  // by thread
    std::map<DWORD, apartment_ref> leaving;          // between Pre- and PostUninitialize
};

// Never destroyed: objects check their apartment until the process ends.
apartment_table& table() {
    static auto* instance = new apartment_table;
    return *instance;
}

// The thread that answers whether the multithreaded apartment still exists. It
// never initialises COM, so CoGetApartmentType answers the implicit
// multithreaded apartment while one exists and CO_E_NOTINITIALIZED once it has
// gone ("CoGetApartmentType function", "APTTYPEQUALIFIER enumeration"). A
// thread that ever joined an apartment could not tell.
class apartment_probe {
public:
    apartment_probe()
        : request_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
          answer_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
          thread_(CreateThread(nullptr, 0, &run, this, 0, nullptr)) {}

    // When the probe cannot answer (its thread is gone at process exit), the
    // apartment counts as alive: no report without evidence.
    bool multithreaded_apartment_exists() {
        std::lock_guard lock(serial_);
        if (!thread_.valid() || !request_.valid() || !answer_.valid()) return true;
        SetEvent(request_.get());
        const HANDLE waits[] = {answer_.get(), thread_.get()};
        if (WaitForMultipleObjects(2, waits, FALSE, 5000) != WAIT_OBJECT_0) return true;
        return answer_result_ != CO_E_NOTINITIALIZED;
    }

private:
    static DWORD WINAPI run(void* parameter) {
        auto* self = static_cast<apartment_probe*>(parameter);
        while (WaitForSingleObject(self->request_.get(), INFINITE) == WAIT_OBJECT_0) {
            APTTYPE type{};
            APTTYPEQUALIFIER qualifier{};
            self->answer_result_ = CoGetApartmentType(&type, &qualifier);
            SetEvent(self->answer_.get());
        }
        return 0;
    }

    std::mutex serial_;
    UniqueHandle request_;
    UniqueHandle answer_;
    HRESULT answer_result_ = S_OK;
    UniqueHandle thread_;
};

apartment_probe& probe() {
    static auto* instance = new apartment_probe;
    return *instance;
}

// On the thread that left the apartment, which owns a single-threaded one's window.
void end_apartment(const apartment_ref& ended) {
    std::deque<std::function<void()>> dropped;
    HWND window = nullptr;
    {
        std::lock_guard lock(table().mutex);
        ended->ended = true;
        if (ended->single_threaded) {
            table().single_threaded.erase(ended->thread);
            dropped = std::move(ended->deliveries);
            window = std::exchange(ended->window, nullptr);
        } else if (table().multithreaded == ended) {
            table().multithreaded = nullptr;
        }
    }
    // Outside the lock: the window's procedure takes it, and the handlers the
    // dropped deliveries hold are released with them.
    if (window) DestroyWindow(window);
}

// Keeps no reference count: one instance serves every thread for the life of the process.
class uninitialize_spy final : public IInitializeSpy {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override {
        if (!result) return E_POINTER;
        if (iid == rt::iid_of<IUnknown> || iid == kIInitializeSpy) {
            *result = static_cast<IInitializeSpy*>(this);
            return S_OK;
        }
        *result = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE PreInitialize(DWORD, DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PostInitialize(HRESULT result, DWORD, DWORD) override { return result; }

    // The apartment the thread is about to leave, while the thread can still tell which.
    HRESULT STDMETHODCALLTYPE PreUninitialize(DWORD references) override {
        if (references != 1) return S_OK;
        apartment_ref leaving = calling_apartment();
        if (!leaving) return S_OK;
        std::lock_guard lock(table().mutex);
        table().leaving[GetCurrentThreadId()] = std::move(leaving);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE PostUninitialize(DWORD references) override {
        if (references != 0) return S_OK;
        apartment_ref left;
        {
            std::lock_guard lock(table().mutex);
            const auto found = table().leaving.find(GetCurrentThreadId());
            if (found == table().leaving.end()) return S_OK;
            left = std::move(found->second);
            table().leaving.erase(found);
        }
        // A single-threaded apartment ends with its thread's last CoUninitialize;
        // the multithreaded one when nothing else holds it.
        if (left->single_threaded || !probe().multithreaded_apartment_exists()) end_apartment(left);
        return S_OK;
    }

private:
    static constexpr GUID kIInitializeSpy = rt::guid("00000034-0000-0000-c000-000000000046");
};

void watch_calling_thread() {
    static uninitialize_spy spy;
    thread_local bool watched = false;
    if (watched) return;
    watched = true;
    probe();  // made before its first use, never from inside CoUninitialize's spy
    ULARGE_INTEGER cookie{};
    CoRegisterInitializeSpy(&spy, &cookie);
}

LRESULT CALLBACK delivery_window_procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != kDeliverMessage) return DefWindowProcW(window, message, wParam, lParam);
    auto* target = reinterpret_cast<apartment*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    for (;;) {
        std::function<void()> work;
        {
            std::lock_guard lock(table().mutex);
            if (!target || target->deliveries.empty()) return 0;
            work = std::move(target->deliveries.front());
            target->deliveries.pop_front();
        }
        work();
    }
}

HMODULE this_module() {
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&delivery_window_procedure), &self);
    return self;
}

// On the apartment's own thread, so that the window belongs to it.
HWND make_delivery_window(apartment& target) {
    static const ATOM windowClass = [] {
        WNDCLASSEXW description{};
        description.cbSize = sizeof(description);
        description.lpfnWndProc = &delivery_window_procedure;
        description.hInstance = this_module();
        description.lpszClassName = kWindowClass;
        return RegisterClassExW(&description);
    }();
    if (!windowClass) return nullptr;
    HWND window = CreateWindowExW(0, kWindowClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, this_module(), nullptr);
    if (window) SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&target));
    return window;
}

}  // namespace

apartment_ref calling_apartment() {
    watch_calling_thread();
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    if (FAILED(CoGetApartmentType(&type, &qualifier))) return nullptr;
    std::lock_guard lock(table().mutex);
    if (type == APTTYPE_MTA) {
        if (!table().multithreaded) table().multithreaded = std::make_shared<apartment>(false, 0);
        return table().multithreaded;
    }
    if (type != APTTYPE_STA && type != APTTYPE_MAINSTA) return nullptr;  // neutral: nothing here runs in it
    const DWORD thread = GetCurrentThreadId();
    apartment_ref& found = table().single_threaded[thread];
    if (!found) {
        // Made now, on the apartment's own thread, as COM makes its window when a thread enters one.
        found = std::make_shared<apartment>(true, thread);
        found->window = make_delivery_window(*found);
    }
    return found;
}

bool is_single_threaded(const apartment& home) { return home.single_threaded; }

HRESULT admit_call(const apartment_ref& home, marshaling_behavior marshaling, std::wstring_view method) noexcept {
    if (!home) return S_OK;
    try {
        if (home->ended) {
            record_violation(L"use after unload: " + std::wstring(method) + L" through an object handed out in " +
                             home->description() + L", which has ended");
            return kObjectNotConnected;
        }
        if (marshaling == marshaling_behavior::agile) return S_OK;
        const apartment_ref here = calling_apartment();
        if (here == home) return S_OK;
        record_violation(L"wrong apartment: " + std::wstring(method) + L" called from " +
                         (here ? here->description() : std::wstring(L"a thread in no apartment")) +
                         L" on an object that is not agile, handed out in " + home->description());
        return RPC_E_WRONG_THREAD;
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

bool post_to_apartment(const apartment_ref& target, std::function<void()> work) {
    HWND window = nullptr;
    {
        std::lock_guard lock(table().mutex);
        if (target->ended) return false;
        window = target->window;
        if (!window) return false;
        target->deliveries.push_back(std::move(work));
    }
    // Sent, not posted: every message retrieval on that thread runs sent
    // messages, CoWaitForMultipleHandles' included (Wine's dispatches posted
    // messages only to COM's own window), and the sender does not wait.
    SendNotifyMessageW(window, kDeliverMessage, 0, 0);
    return true;
}

bool marshals_free_threaded(IUnknown* object) {
    static constexpr GUID kIMarshal = rt::guid("00000003-0000-0000-c000-000000000046");
    static constexpr CLSID kInProcFreeMarshaler = rt::guid("0000033a-0000-0000-c000-000000000046");
    if (!object) return false;
    rt::com_ptr<IMarshal> marshal;
    if (FAILED(object->QueryInterface(kIMarshal, marshal.put_void())) || !marshal) return false;
    CLSID unmarshaler{};
    if (FAILED(marshal->GetUnmarshalClass(rt::iid_of<IUnknown>, object, MSHCTX_INPROC, nullptr, MSHLFLAGS_NORMAL,
                                          &unmarshaler))) {
        return false;
    }
    return unmarshaler == kInProcFreeMarshaler;
}

}  // namespace sim
