#pragma once
// The client's closed libraries are DLLs; the module imports from them.
#if defined(ORVALE_HOSTAPI_IMPLEMENTATION)
#define HOSTAPI __declspec(dllexport)
#else
#define HOSTAPI __declspec(dllimport)
#endif
