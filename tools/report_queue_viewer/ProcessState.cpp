#include "ProcessState.h"

#include "UniqueHandle.h"

namespace viewer {

ProcessState StateOfProcess(DWORD pid) {
    const UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, pid));
    if (!process.valid()) {
        // A process we may not open still exists; any other refusal means there is none.
        return GetLastError() == ERROR_ACCESS_DENIED ? ProcessState::Running : ProcessState::Ended;
    }
    // Not the exit code: a process may have ended with STILL_ACTIVE (259) as its code.
    return WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT ? ProcessState::Running : ProcessState::Ended;
}

const char* ProcessStateText(ProcessState state) { return state == ProcessState::Running ? "running" : "ended"; }

}  // namespace viewer
