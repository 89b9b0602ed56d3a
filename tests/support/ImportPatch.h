#pragma once
// Replaces one imported function in the import address table of this test
// program for the life of the object, so a test can watch or fail the Windows
// calls that the module's code, linked into the program, makes.
#include <windows.h>

class ImportPatch {
public:
    // `dll` as the program imports it ("kernel32.dll"), or null for whichever
    // DLL the program imports `function` from (the C runtime's name differs
    // between tool chains); `function` by name. Throws std::runtime_error when
    // the program does not import it.
    ImportPatch(const char* dll, const char* function, const void* replacement);
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;
    ~ImportPatch();

    // The function the table held before.
    template <class Function>
    Function* original() const {
        return reinterpret_cast<Function*>(original_);
    }

private:
    void** slot_ = nullptr;
    void* original_ = nullptr;
};
