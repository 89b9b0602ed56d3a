// Puts a raw push payload into shared memory and starts the host to read it:
//   PushWriter.exe <host.exe> <guid> (--text <payload> | --file <utf-8 file>)
// Prints the host's exit code; exits non-zero when the hand-off failed.
#include <windows.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "OrvaleBase.h"
#include "PushSegmentWriter.h"

namespace {

int Usage() {
    std::fputs("usage: PushWriter.exe <host.exe> <guid> (--text <payload> | --file <utf-8 file>)\n", stderr);
    return 2;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 5) return Usage();
    const std::wstring host = argv[1], guid = argv[2], mode = argv[3], value = argv[4];
    std::wstring payload;
    if (mode == L"--text") {
        payload = value;
    } else if (mode == L"--file") {
        std::ifstream in(value.c_str(), std::ios::binary);
        if (!in) return Usage();
        payload = base::Utf8ToWide(std::string(std::istreambuf_iterator<char>(in), {}));
    } else {
        return Usage();
    }

    PushSegmentWriter writer(guid, static_cast<uint32_t>(payload.size() * sizeof(wchar_t) + sizeof(wchar_t)));
    if (!writer.ok()) {
        std::fprintf(stderr, "cannot create the kernel objects (error %lu)\n", GetLastError());
        return 1;
    }
    writer.WriteText(payload, true);
    writer.ReleaseLock();

    std::wstring commandLine = L"\"" + host + L"\" -action raw-notification -guid " + guid;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        std::fprintf(stderr, "cannot start the host (error %lu)\n", GetLastError());
        return 1;
    }
    UniqueHandle processHandle(process.hProcess), threadHandle(process.hThread);
    const bool signalled = writer.WaitForReaderSignal(15000);
    const bool done = signalled && writer.WaitForReaderDone(15000);
    writer.CloseAll();
    WaitForSingleObject(processHandle.get(), 60000);
    DWORD exitCode = 0;
    GetExitCodeProcess(processHandle.get(), &exitCode);
    std::printf("host exit code: %lu, reader took the payload: %s\n", exitCode, done ? "yes" : "no");
    return done ? 0 : 1;
}
