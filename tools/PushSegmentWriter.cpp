#include "PushSegmentWriter.h"

#include <cstring>

namespace {
std::wstring ObjectName(const std::wstring& guid, const wchar_t* suffix) {
    return L"orvale_notification_" + guid + suffix;
}
}  // namespace

PushSegmentWriter::PushSegmentWriter(const std::wstring& guid, uint32_t capacityBytes, PushSegmentObjects objects)
    : capacity_(capacityBytes) {
    ok_ = true;
    if (objects.mapping) {
        const uint64_t size = static_cast<uint64_t>(capacityBytes) + sizeof(uint32_t);
        mapping_.reset(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, static_cast<DWORD>(size >> 32),
                                          static_cast<DWORD>(size), ObjectName(guid, L"_FM").c_str()));
        ok_ = ok_ && mapping_.valid();
    }
    if (objects.mutex) {
        mutex_.reset(CreateMutexW(nullptr, TRUE, ObjectName(guid, L"_Lock").c_str()));
        ok_ = ok_ && mutex_.valid();
    }
    if (objects.event) {
        event_.reset(CreateEventW(nullptr, FALSE, FALSE, ObjectName(guid, L"_Event").c_str()));
        ok_ = ok_ && event_.valid();
    }
}

void PushSegmentWriter::Write(uint32_t contentBytes, std::string_view raw) {
    if (!mapping_.valid()) return;
    void* view = MapViewOfFile(mapping_.get(), FILE_MAP_WRITE, 0, 0, 0);
    if (view == nullptr) return;
    std::memcpy(view, &contentBytes, sizeof(contentBytes));
    const size_t bytes = raw.size() < capacity_ ? raw.size() : capacity_;
    std::memcpy(static_cast<char*>(view) + sizeof(contentBytes), raw.data(), bytes);
    UnmapViewOfFile(view);
}

void PushSegmentWriter::WriteText(std::wstring_view text, bool trailingNul) {
    std::wstring content(text);
    if (trailingNul) content.push_back(L'\0');
    const std::string_view raw(reinterpret_cast<const char*>(content.data()), content.size() * sizeof(wchar_t));
    Write(static_cast<uint32_t>(raw.size()), raw);
}

void PushSegmentWriter::ReleaseLock() {
    if (mutex_.valid()) ReleaseMutex(mutex_.get());
}

bool PushSegmentWriter::WaitForReaderSignal(DWORD timeoutMs) const {
    return event_.valid() && WaitForSingleObject(event_.get(), timeoutMs) == WAIT_OBJECT_0;
}

bool PushSegmentWriter::WaitForReaderDone(DWORD timeoutMs) {
    if (!mutex_.valid()) return false;
    const DWORD result = WaitForSingleObject(mutex_.get(), timeoutMs);
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) return false;
    ReleaseMutex(mutex_.get());
    return true;
}

void PushSegmentWriter::CloseAll() {
    event_.reset();
    mapping_.reset();
    mutex_.reset();
}
