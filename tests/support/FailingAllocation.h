#pragma once
// Allocations made with operator new on the calling thread throw
// std::bad_alloc, as in a client whose address space is full: the next one,
// or every one of at least `minimumBytes` (0: none any more). Only code
// linked into the test program (the module's objects included) allocates
// through it.
#include <cstddef>

void FailNextAllocationOnThisThread();
void FailLargeAllocationsOnThisThread(std::size_t minimumBytes);
