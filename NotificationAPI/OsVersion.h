#pragma once
#include <windows.h>

#include <cstdint>

// True from Windows 10 build 19041 on; probed once per process.
bool IsSupportedOsBuild();

// The decision rule of the probe: minor 1+ of major 10 passes whatever the
// build, major 10.0 needs build 19041, other majors need 11 or more.
bool IsSupportedOsVersion(uint32_t major, uint32_t minor, uint32_t build);

// Corrects a version read from RtlGetVersion with the kernel's own numbers
// (RtlGetNtVersionNumbers, else the version resource of ntoskrnl.exe).
void GetNtVersionNumbers(uint32_t& major, uint32_t& minor, uint32_t& build);

// RtlGetVersion of the loaded ntdll into a zero-filled `info`; false (and
// `info` left zero) when ntdll does not export it.
bool ReadRtlVersion(OSVERSIONINFOW& info);
