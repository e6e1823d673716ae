// Puts a function of a test in the place of one that a loaded DLL imports.
#pragma once

#include <windows.h>

// Replaces every import of that name by the replacement and returns the function that
// was there, or null when the module imports none of that name.
FARPROC patchImport(const char* module, const char* name, FARPROC replacement);
