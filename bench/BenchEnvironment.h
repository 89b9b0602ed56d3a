#pragma once
// What the figures set up around the measured work: a scratch folder and
// process environment variables, both put back when the figure ends.
#include <optional>
#include <string>

class ScratchFolder {
public:
    // A fresh folder under the temporary folder whose name starts with `prefix`.
    explicit ScratchFolder(const std::wstring& prefix);
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    // With a trailing backslash, as the module's report folder has one.
    const std::wstring& path() const { return path_; }

private:
    std::wstring path_;
};

// Sets a variable of this process (the simulated runtime reads its steering
// variables at every request) and restores the former value.
class ScopedEnvironmentVariable {
public:
    ScopedEnvironmentVariable(std::wstring name, const std::wstring& value);
    ScopedEnvironmentVariable(const ScopedEnvironmentVariable&) = delete;
    ScopedEnvironmentVariable& operator=(const ScopedEnvironmentVariable&) = delete;
    ~ScopedEnvironmentVariable();

private:
    std::wstring name_;
    std::optional<std::wstring> previous_;
};
