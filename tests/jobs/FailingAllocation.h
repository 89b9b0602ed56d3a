#pragma once
// The next allocation made with operator new on the calling thread throws
// std::bad_alloc; later ones succeed again. Only code linked into this test
// program (the module's objects included) allocates through it.
void FailNextAllocationOnThisThread();
