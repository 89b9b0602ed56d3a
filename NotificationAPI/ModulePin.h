#pragma once
// Once this module has handed a delegate to the platform, the platform may
// call it at any later time (a toast clicked after the client unloaded us, a
// package operation completing after its wait ran out). Such code must stay
// mapped: the module pins itself for the rest of the process. Every delegate
// made with rt::make_delegate pins it already; the roads that hand out
// long-lived handlers call this too, so a failure to pin is logged.

// Pins this module (rt::pin_module) and logs when that fails. Never throws.
void PinModuleInMemory() noexcept;
