#pragma once
#include <string>

// The stand-alone logger's file of this test process, unique per process.
const std::wstring& TestLogPath();
