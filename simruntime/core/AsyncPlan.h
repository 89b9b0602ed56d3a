#pragma once
// How a simulated operation is to end, as the steering state plans it; apart
// from the operations themselves so that the steering state's header needs
// no object template.
#include <windows.h>

#include <cstdint>

#include "Foundation.h"

namespace sim {

struct async_plan {
    std::uint32_t delay_ms = 0;
    // Completed, Error or Canceled: how the operation ends. Started: it never does.
    rt::AsyncStatus outcome = rt::AsyncStatus::Completed;
    // ErrorCode when the outcome is Error or Canceled.
    HRESULT error_code = S_OK;
    // ErrorCode after Cancel().
    HRESULT cancel_error_code = HRESULT_FROM_WIN32(ERROR_CANCELLED);
    // "IAsyncInfo::Cancel": "Requests cancellation": the operation may stay
    // Started this long after Cancel returned (0: Canceled at once).
    std::uint32_t cancel_delay_ms = 0;
};

}  // namespace sim
