#pragma once
// Writer side of the raw-push hand-off, as the package's background side does
// it: creates the mapping, mutex and event of a guid, writes the segment
// under the mutex and keeps the objects until the reader has been through.
#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "UniqueHandle.h"

// Which of the three named objects a writer creates.
struct PushSegmentObjects {
    bool mapping = true;
    bool mutex = true;
    bool event = true;
};

class PushSegmentWriter {
public:
    // Creates the objects; the mutex starts owned by the calling thread.
    PushSegmentWriter(const std::wstring& guid, uint32_t capacityBytes, PushSegmentObjects objects = PushSegmentObjects());

    bool ok() const { return ok_; }

    // Header then raw content bytes, written while the mutex is held; the
    // header may claim a size other than the bytes written.
    void Write(uint32_t contentBytes, std::string_view contentBytesRaw);
    void WriteText(std::wstring_view text, bool trailingNul = false);
    void ReleaseLock();

    // The reader's cue: it signals the event when it starts waiting.
    bool WaitForReaderSignal(DWORD timeoutMs) const;
    // Succeeds once the reader has taken the mutex and let it go again.
    bool WaitForReaderDone(DWORD timeoutMs);

    void CloseAll();

private:
    UniqueHandle mapping_;
    UniqueHandle mutex_;
    UniqueHandle event_;
    uint32_t capacity_ = 0;
    bool ok_ = false;
};
