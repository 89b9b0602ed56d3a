#pragma once
#include <windows.h>

namespace viewer {

enum class ProcessState { Running, Ended };

// Whether a process with this id runs now. Ids are reused, so "running" means
// some process has that id, not necessarily the claimant.
ProcessState StateOfProcess(DWORD pid);

const char* ProcessStateText(ProcessState state);

}  // namespace viewer
