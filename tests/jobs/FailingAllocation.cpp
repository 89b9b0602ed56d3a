#include "FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {
thread_local bool t_failNext = false;
}  // namespace

void FailNextAllocationOnThisThread() { t_failNext = true; }

void* operator new(std::size_t size) {
    if (t_failNext) {
        t_failNext = false;
        throw std::bad_alloc();
    }
    if (void* block = std::malloc(size ? size : 1)) return block;
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
