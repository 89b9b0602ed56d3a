#pragma once
// A variable of this process set for the life of the object; the simulation
// and the host libraries read theirs when they are asked, not at start-up.
#include <windows.h>

#include <string>

class ScopedVariable {
public:
    ScopedVariable(const wchar_t* name, const std::wstring& value) : name_(name) {
        SetEnvironmentVariableW(name, value.c_str());
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() { SetEnvironmentVariableW(name_.c_str(), nullptr); }

private:
    std::wstring name_;
};
