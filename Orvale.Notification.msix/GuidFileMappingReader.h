#pragma once
// Reader side of the raw-push hand-off: the package's background side writes
// the payload into a named mapping and starts the host with its guid.
//
// Segment layout: uint32 contentBytes, then contentBytes of UTF-16LE text
// (one trailing NUL allowed). The writer holds "<prefix><guid>_Lock" while it
// writes and keeps the objects open until the reader holds that mutex.
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "HostLog.h"
#include "UniqueHandle.h"

class GuidFileMapping {
public:
    static constexpr uint32_t kMaxContentBytes = 0x9FFFFF;
    static constexpr DWORD kHeaderBytes = sizeof(uint32_t);

    static std::wstring BuildMappingObjectName(const std::wstring& guid, const wchar_t* suffix) {
        return L"orvale_notification_" + guid + suffix;
    }

    // The payload, or an empty string on any failure (the log tells which).
    static std::wstring ReadData(const std::wstring& guid, DWORD timeoutMs) noexcept {
        try {
            return ReadDataOrThrow(guid, timeoutMs);
        } catch (...) {
            // Only allocations throw here (names, the copy of up to 10 MB);
            // the mutex owner has let the writer go by now.
            HOST_LOG_ERROR(kFunction, L"[ReadData] unknown exception, guid={}", guid);
            return {};
        }
    }

private:
    static constexpr wchar_t kFunction[] = L"GuidFileMapping::ReadData";

    // Releases the writer's mutex once taken, on every way out.
    class HeldMutex {
    public:
        explicit HeldMutex(HANDLE mutex) : mutex_(mutex) {}
        HeldMutex(const HeldMutex&) = delete;
        HeldMutex& operator=(const HeldMutex&) = delete;
        ~HeldMutex() { ReleaseMutex(mutex_); }

    private:
        HANDLE mutex_;
    };

    static std::wstring ReadDataOrThrow(const std::wstring& guid, DWORD timeoutMs) {
        if (guid.empty()) {
            HOST_LOG_WARN(kFunction, L"[ReadData] guid is empty, returning early");
            return {};
        }
        const std::wstring mappingName = BuildMappingObjectName(guid, L"_FM");
        const std::wstring mutexName = BuildMappingObjectName(guid, L"_Lock");
        const std::wstring eventName = BuildMappingObjectName(guid, L"_Event");

        UniqueHandle mutex(OpenMutexW(SYNCHRONIZE, FALSE, mutexName.c_str()));
        if (!mutex.valid()) {
            HOST_LOG_ERROR(kFunction, L"[ReadData] OpenMutexW failed, name={}, GetLastError={}", mutexName,
                           GetLastError());
            return {};
        }

        UniqueHandle mapping(OpenFileMappingW(FILE_MAP_READ, FALSE, mappingName.c_str()));
        if (!mapping.valid()) {
            HOST_LOG_INFO(kFunction,
                          L"[ReadData] OpenFileMappingW (early) failed, name={}, GetLastError={} (will retry after mutex)",
                          mappingName, GetLastError());
        }

        UniqueHandle event(OpenEventW(EVENT_MODIFY_STATE, FALSE, eventName.c_str()));
        if (!AcquireWriterMutex(kFunction, mutex, event, eventName, guid, timeoutMs)) return {};
        std::wstring result;
        {
            const HeldMutex held(mutex.get());
            result = CopyWithMutexHeld(mapping, mappingName, guid);
        }
        if (result.empty()) HOST_LOG_WARN(kFunction, L"[ReadData] returning empty result, guid={}", guid);
        return result;
    }

    static std::wstring CopyWithMutexHeld(UniqueHandle& mapping, const std::wstring& mappingName,
                                          const std::wstring& guid) {
        if (!mapping.valid()) {
            mapping.reset(OpenFileMappingW(FILE_MAP_READ, FALSE, mappingName.c_str()));
            if (!mapping.valid()) {
                HOST_LOG_ERROR(kFunction, L"[ReadData] OpenFileMappingW (retry) failed, name={}, GetLastError={}",
                               mappingName, GetLastError());
            }
        }
        if (!mapping.valid()) {
            HOST_LOG_ERROR(kFunction, L"[ReadData] FileMapping unavailable after mutex acquired, guid={}", guid);
            return {};
        }
        return CopyContent(kFunction, mapping.get());
    }

    // Signals the writer and waits for its mutex in one step, so a writer
    // that waits on the event cannot miss the reader. An abandoned mutex
    // counts as taken: a writer that died does not stop the read.
    static bool AcquireWriterMutex(const wchar_t* function, const UniqueHandle& mutex, const UniqueHandle& event,
                                   const std::wstring& eventName, const std::wstring& guid, DWORD timeoutMs) {
        DWORD waitResult = 0;
        if (event.valid()) {
            waitResult = SignalObjectAndWait(event.get(), mutex.get(), timeoutMs, FALSE);
        } else {
            HOST_LOG_INFO(function,
                          L"[ReadData] OpenEventW failed (writer may have exited), name={}, GetLastError={}, "
                          L"falling back to WaitForSingleObject",
                          eventName, GetLastError());
            waitResult = WaitForSingleObject(mutex.get(), timeoutMs);
        }
        if (waitResult == WAIT_OBJECT_0 || waitResult == WAIT_ABANDONED) return true;

        const DWORD error = GetLastError();
        if (event.valid()) {
            HOST_LOG_ERROR(function, L"[ReadData] SignalObjectAndWait failed, waitResult={}, GetLastError={}",
                           waitResult, error);
        } else {
            HOST_LOG_ERROR(function, L"[ReadData] WaitForSingleObject failed, waitResult={}, GetLastError={}",
                           waitResult, error);
        }
        HOST_LOG_ERROR(function, L"[ReadData] Failed to acquire mutex, guid={}, timeoutMs={}", guid, timeoutMs);
        return false;
    }

    static std::wstring CopyContent(const wchar_t* function, HANDLE mapping) {
        uint32_t contentBytes = 0;
        {
            MappedView header(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, kHeaderBytes));
            if (header.get() == nullptr) {
                HOST_LOG_ERROR(function, L"[ReadData] MapViewOfFile (header) failed, GetLastError={}", GetLastError());
                return {};
            }
            std::memcpy(&contentBytes, header.get(), sizeof(contentBytes));
        }
        if (contentBytes == 0 || contentBytes > kMaxContentBytes) {
            HOST_LOG_WARN(function, L"[ReadData] contentBytes sanity check failed, contentBytes={}", contentBytes);
            return {};
        }
        const SIZE_T totalBytes = static_cast<SIZE_T>(contentBytes) + kHeaderBytes;
        MappedView full(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, totalBytes));
        if (full.get() == nullptr) {
            HOST_LOG_ERROR(function, L"[ReadData] MapViewOfFile (full) failed, totalBytes={}, GetLastError={}",
                           totalBytes, GetLastError());
            return {};
        }
        const size_t charCount = contentBytes / sizeof(wchar_t);
        if (charCount == 0) {
            HOST_LOG_WARN(function, L"[ReadData] charCount is 0, contentBytes={}", contentBytes);
            return {};
        }
        // Straight from the mapped bytes: one pass over up to 10 MB, not a fill and a copy.
        const auto* characters = reinterpret_cast<const wchar_t*>(static_cast<const char*>(full.get()) + kHeaderBytes);
        std::wstring content(characters, charCount);
        if (content.back() == L'\0') content.pop_back();
        return content;
    }
};
