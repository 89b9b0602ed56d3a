// The experiment module of a client build whose module lacks the service
// getter. Tests copy it beside the host under the name "JxDataPlugin.dll".
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }
