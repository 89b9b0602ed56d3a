// The reader against a real writer: named kernel objects of this session,
// the reader on a thread of its own (mutex ownership is per thread).
#include <windows.h>

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

#include "FailingAllocation.h"
#include "GuidFileMappingReader.h"
#include "HostLogFile.h"
#include "PushSegmentWriter.h"
#include "TempFolder.h"
#include "TestMain.h"

namespace {

std::string ObjectName(const std::wstring& guid, const wchar_t* suffix) {
    return WideToUtf8Text(GuidFileMapping::BuildMappingObjectName(guid, suffix));
}

struct Read {
    std::wstring result;
    std::vector<std::string> lines;  // "<level> <message>" of the reader's lines
};

Read ReadOnOtherThread(const std::wstring& guid, DWORD timeoutMs = 2000) {
    HostLogCursor cursor(TestLogPath());
    Read read;
    read.result = std::async(std::launch::async, [&] { return GuidFileMapping::ReadData(guid, timeoutMs); }).get();
    const auto lines = cursor.NewLines();
    for (const auto& line : lines) {
        EXPECT_EQ(line.function, "GuidFileMapping::ReadData");
        EXPECT_NE(line.sourceFile.find("GuidFileMappingReader"), std::string::npos);
    }
    read.lines = LevelsAndMessages(lines);
    return read;
}

// Nothing the reader opened outlives it: once the writer lets go, the names are gone.
void ExpectNamedObjectsGone(const std::wstring& guid) {
    const auto name = [&](const wchar_t* suffix) { return GuidFileMapping::BuildMappingObjectName(guid, suffix); };
    EXPECT_FALSE(UniqueHandle(OpenFileMappingW(FILE_MAP_READ, FALSE, name(L"_FM").c_str())).valid()) << "mapping still exists";
    EXPECT_FALSE(UniqueHandle(OpenMutexW(SYNCHRONIZE, FALSE, name(L"_Lock").c_str())).valid()) << "mutex still exists";
    EXPECT_FALSE(UniqueHandle(OpenEventW(EVENT_MODIFY_STATE, FALSE, name(L"_Event").c_str())).valid()) << "event still exists";
}

std::string RawUtf16(const std::wstring& text) {
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

TEST(ReadData, EmptyGuidReturnsAtOnce) {
    Read read = ReadOnOtherThread(L"");
    EXPECT_EQ(read.result, L"");
    EXPECT_EQ(read.lines, std::vector<std::string>{"2 [ReadData] guid is empty, returning early"});
}

TEST(ReadData, CopiesTheContentTheHeaderAnnounces) {
    struct Case {
        const char* name;
        uint32_t headerBytes;
        std::wstring content;
        std::wstring expected;
        std::vector<std::string> warnings;  // beyond the final "returning empty result"
        uint32_t mappingBytes = 0;          // the content's when 0
    };
    const std::wstring abc = L"abc";
    const std::vector<Case> cases = {
        {"no terminator", 6, abc, abc, {}},
        {"one terminator dropped", 8, std::wstring(L"abc\0", 4), abc, {}},
        {"only the last terminator dropped", 10, std::wstring(L"abc\0\0", 5), std::wstring(L"abc\0", 4), {}},
        {"inner NUL kept", 8, std::wstring(L"a\0bc", 4), std::wstring(L"a\0bc", 4), {}},
        {"odd size loses its last byte", 3, L"xy", L"x", {}},
        {"one byte", 1, L"x", L"", {"2 [ReadData] charCount is 0, contentBytes=1"}},
        {"zero bytes", 0, L"x", L"", {"2 [ReadData] contentBytes sanity check failed, contentBytes=0"}},
        {"above the limit", 0xA00000, L"x", L"",
         {"2 [ReadData] contentBytes sanity check failed, contentBytes=10485760"}},
        {"header beyond the mapping", 0x10000, L"x", L"",
         {"3 [ReadData] MapViewOfFile (full) failed, totalBytes=65540, GetLastError="}},
        // 0x9FFFFF bytes are 0x4FFFFF characters; the zero-filled last one is dropped.
        {"the largest segment", GuidFileMapping::kMaxContentBytes, L"big", L"big" + std::wstring(0x4FFFFB, L'\0'), {},
         GuidFileMapping::kMaxContentBytes},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::wstring guid = FreshGuidText();
        PushSegmentWriter writer(guid, c.mappingBytes ? c.mappingBytes : static_cast<uint32_t>(c.content.size() * sizeof(wchar_t)));
        ASSERT_TRUE(writer.ok());
        writer.Write(c.headerBytes, RawUtf16(c.content));
        writer.ReleaseLock();

        Read read = ReadOnOtherThread(guid);
        EXPECT_TRUE(read.result == c.expected) << read.result.size() << " characters";
        std::vector<std::string> expected = c.warnings;
        if (c.expected.empty()) expected.push_back("2 [ReadData] returning empty result, guid=" + WideToUtf8Text(guid));
        ASSERT_EQ(read.lines.size(), expected.size());
        for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(read.lines[i].rfind(expected[i], 0), 0u) << read.lines[i];
        EXPECT_TRUE(writer.WaitForReaderSignal(0)) << "the reader signals the writer's event";
        writer.CloseAll();
        ExpectNamedObjectsGone(guid);
    }
}

// A writer without its event has exited: the reader falls back to a plain
// wait. A missing mapping is tried before and after the mutex; without the
// mutex nothing else is opened and the event is not touched.
TEST(ReadData, WorksAroundAMissingEventAndReportsAMissingMappingOrMutex) {
    const std::wstring guid = FreshGuidText();
    const std::string mapping = ObjectName(guid, L"_FM"), empty = "2 [ReadData] returning empty result, guid=" + WideToUtf8Text(guid);
    const struct {
        PushSegmentObjects objects;
        std::wstring result;
        std::vector<std::string> lines;
    } rows[] = {
        {{.event = false}, L"payload",
         {"1 [ReadData] OpenEventW failed (writer may have exited), name=" + ObjectName(guid, L"_Event") +
          ", GetLastError=2, falling back to WaitForSingleObject"}},
        {{.mapping = false}, L"",
         {"1 [ReadData] OpenFileMappingW (early) failed, name=" + mapping + ", GetLastError=2 (will retry after mutex)",
          "3 [ReadData] OpenFileMappingW (retry) failed, name=" + mapping + ", GetLastError=2",
          "3 [ReadData] FileMapping unavailable after mutex acquired, guid=" + WideToUtf8Text(guid), empty}},
        {{.mutex = false}, L"", {"3 [ReadData] OpenMutexW failed, name=" + ObjectName(guid, L"_Lock") + ", GetLastError=2"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.lines[0]);
        PushSegmentWriter writer(guid, 64, row.objects);
        if (row.objects.mapping) writer.WriteText(L"payload");
        if (row.objects.mutex) writer.ReleaseLock();
        Read read = ReadOnOtherThread(guid);
        EXPECT_EQ(read.result, row.result);
        EXPECT_EQ(read.lines, row.lines);
        EXPECT_EQ(writer.WaitForReaderSignal(0), row.objects.mutex && row.objects.event);
        writer.CloseAll();
        ExpectNamedObjectsGone(guid);
    }
}

TEST(ReadData, ReadsAfterTheWriterDiedHoldingTheMutex) {
    const std::wstring guid = FreshGuidText();
    PushSegmentWriter writer(guid, 64);
    writer.WriteText(L"left behind", true);
    writer.ReleaseLock();
    std::thread([&] {
        // A second writer thread takes the mutex and ends without releasing it.
        UniqueHandle mutex(OpenMutexW(SYNCHRONIZE, FALSE, GuidFileMapping::BuildMappingObjectName(guid, L"_Lock").c_str()));
        ASSERT_EQ(WaitForSingleObject(mutex.get(), 1000), WAIT_OBJECT_0);
    }).join();
    Read read = ReadOnOtherThread(guid);
    EXPECT_EQ(read.result, L"left behind");
    EXPECT_TRUE(read.lines.empty());
    writer.CloseAll();
    ExpectNamedObjectsGone(guid);
}

TEST(ReadData, LetsTheWriterGoWhenTheCopyCannotBeAllocated) {
    const std::wstring guid = FreshGuidText();
    PushSegmentWriter writer(guid, GuidFileMapping::kMaxContentBytes);
    ASSERT_TRUE(writer.ok());
    writer.Write(GuidFileMapping::kMaxContentBytes, RawUtf16(L"too big to copy"));
    writer.ReleaseLock();

    // The reader's thread stays alive meanwhile, so a mutex it kept would
    // neither be released nor abandoned.
    HostLogCursor cursor(TestLogPath());
    std::promise<std::wstring> result;
    UniqueHandle readerMayEnd(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::thread reader([&] {
        FailLargeAllocationsOnThisThread(1 << 20);
        result.set_value(GuidFileMapping::ReadData(guid, 2000));
        FailLargeAllocationsOnThisThread(0);
        WaitForSingleObject(readerMayEnd.get(), 10000);
    });
    EXPECT_EQ(result.get_future().get(), L"");

    UniqueHandle mutex(OpenMutexW(SYNCHRONIZE, FALSE, GuidFileMapping::BuildMappingObjectName(guid, L"_Lock").c_str()));
    EXPECT_EQ(WaitForSingleObject(mutex.get(), 1000), WAIT_OBJECT_0);
    ReleaseMutex(mutex.get());
    SetEvent(readerMayEnd.get());
    reader.join();

    const auto errors = LinesContaining(cursor.NewLines(), "[ReadData] unknown exception");
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].level, 3);
    mutex.reset();
    writer.CloseAll();
    ExpectNamedObjectsGone(guid);
}

TEST(ReadData, GivesUpOnAWriterThatNeverReleases) {
    const std::wstring guid = FreshGuidText();
    PushSegmentWriter writer(guid, 64);  // owns the mutex and keeps it
    writer.WriteText(L"never read");
    const ULONGLONG start = GetTickCount64();
    Read read = ReadOnOtherThread(guid, 300);
    const ULONGLONG elapsed = GetTickCount64() - start;
    EXPECT_EQ(read.result, L"");
    ASSERT_EQ(read.lines.size(), 2u);
    EXPECT_EQ(read.lines[0].rfind("3 [ReadData] SignalObjectAndWait failed, waitResult=258, GetLastError=", 0), 0u)
        << read.lines[0];
    EXPECT_EQ(read.lines[1], "3 [ReadData] Failed to acquire mutex, guid=" + WideToUtf8Text(guid) + ", timeoutMs=300");
    EXPECT_GE(elapsed, 250u);
    writer.CloseAll();
    ExpectNamedObjectsGone(guid);
}

}  // namespace
