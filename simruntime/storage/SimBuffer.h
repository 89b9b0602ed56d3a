#pragma once
// Windows.Storage.Streams.Buffer as the platform hands it out: capacity and
// length are the size of the bytes given, the length can be lowered and
// raised again up to the capacity, and IBufferByteAccess reaches the bytes.
#include <windows.h>

#include <vector>

#include "ComPtr.h"
#include "Storage.h"

namespace sim {

rt::com_ptr<rt::IBuffer> make_buffer(std::vector<BYTE> bytes);

}  // namespace sim
