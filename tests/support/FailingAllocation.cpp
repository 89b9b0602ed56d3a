#include "FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {
thread_local bool t_failNext = false;
thread_local std::size_t t_failFrom = 0;
}  // namespace

void FailNextAllocationOnThisThread() { t_failNext = true; }
void FailLargeAllocationsOnThisThread(std::size_t minimumBytes) { t_failFrom = minimumBytes; }

void* operator new(std::size_t size) {
    if (t_failNext || (t_failFrom != 0 && size >= t_failFrom)) {
        t_failNext = false;
        throw std::bad_alloc();
    }
    if (void* block = std::malloc(size ? size : 1)) return block;
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
