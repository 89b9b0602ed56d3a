#pragma once
// Once this module has handed a delegate to the platform, the platform may
// call it at any later time (a toast clicked after the client unloaded us, a
// package operation completing after its wait ran out). Such code must stay
// mapped: the module pins itself for the rest of the process.

// Pins the module that holds this code; the first call does it, later calls
// do nothing. Never throws.
void PinModuleInMemory() noexcept;
