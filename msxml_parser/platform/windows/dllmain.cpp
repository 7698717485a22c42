#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID /*reserved*/) {
    // Nothing here keeps anything for a thread. A failure changes nothing but the notifications.
    if (reason == DLL_PROCESS_ATTACH) (void)DisableThreadLibraryCalls(library);
    return TRUE;
}
