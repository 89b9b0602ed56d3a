#pragma once
// Windows.System.Threading: thread-pool timers.
#include <windows.h>
#include <inspectable.h>

#include "Foundation.h"
#include "Guid.h"
#include "Signature.h"

namespace rt {

struct IThreadPoolTimer : IInspectable {
    static constexpr GUID iid = guid("594ebe78-55ea-4a88-a50d-3402ae1f9cf2");
    virtual HRESULT STDMETHODCALLTYPE get_Period(TimeSpan* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Delay(TimeSpan* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Cancel() = 0;
};

struct ThreadPoolTimer : runtime_class<"Windows.System.Threading.ThreadPoolTimer", IThreadPoolTimer> {};

struct TimerElapsedHandler : IUnknown {
    static constexpr GUID iid = guid("faaea667-fbeb-49cb-adb2-71184c556e43");
    static constexpr auto signature = delegate_signature(iid);
    virtual HRESULT STDMETHODCALLTYPE Invoke(IThreadPoolTimer* timer) = 0;
};

struct TimerDestroyedHandler : IUnknown {
    static constexpr GUID iid = guid("34ed19fa-8384-4eb9-8209-fb5094eeec35");
    static constexpr auto signature = delegate_signature(iid);
    virtual HRESULT STDMETHODCALLTYPE Invoke(IThreadPoolTimer* timer) = 0;
};

// The periodic forms come first in the vtable. Every result is the new timer.
struct IThreadPoolTimerStatics : IInspectable {
    static constexpr GUID iid = guid("1a8a9d02-e482-461b-b8c7-8efad1cce590");
    virtual HRESULT STDMETHODCALLTYPE CreatePeriodicTimer(TimerElapsedHandler* handler, TimeSpan period,
                                                          IThreadPoolTimer** timer) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTimer(TimerElapsedHandler* handler, TimeSpan delay,
                                                  IThreadPoolTimer** timer) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreatePeriodicTimerWithCompletion(TimerElapsedHandler* handler, TimeSpan period,
                                                                        TimerDestroyedHandler* destroyed,
                                                                        IThreadPoolTimer** timer) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTimerWithCompletion(TimerElapsedHandler* handler, TimeSpan delay,
                                                                TimerDestroyedHandler* destroyed,
                                                                IThreadPoolTimer** timer) = 0;
};

}  // namespace rt
