// Where Windows enters the library. Nothing is set up at load and nothing is left to
// do at unload: all state starts zeroed, and connect sets it up. Part of the DLL alone,
// for programs that link this code have an entry of their own.
#include <windows.h>

// The compiler's start files ask here for the set-up of thread-local storage. There is
// none in the library, and their own answer would add some: with it Windows does not
// let thread notifications be switched off.
extern "C" const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback = nullptr;

extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID)
{
    // The threads of the host are no business of a library that is called by one.
    if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(library);
    return TRUE;
}
