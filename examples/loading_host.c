/*
 * A host that loads the library while it runs, and works without it where it is missing.
 *
 *   loading_host LIBRARY JOB         prints the number of points
 *
 * Valid as C99 and as C++17, on Windows and Linux.
 */
#include "orvIdx.h"

#include <stdio.h>
#include <string.h>

#if defined(_WIN32)
#include <windows.h>
typedef HMODULE Library;
static Library loadLibrary(const char* path) { return LoadLibraryA(path); }
static void unloadLibrary(Library library) { FreeLibrary(library); }
#else
#include <dlfcn.h>
typedef void* Library;
static Library loadLibrary(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }
static void unloadLibrary(Library library) { dlclose(library); }
#endif

typedef int32_t(ORVIDX_CALL* Connect)(IdxConnection**, const char*, uint32_t);
typedef int32_t(ORVIDX_CALL* Count)(IdxConnection*, uint32_t, uint32_t*, char**);
typedef int32_t(ORVIDX_CALL* Disconnect)(IdxConnection**);

typedef struct Functions {
    Connect connect;
    Count count;
    Disconnect disconnect;
} Functions;

/* Stores the address of an export in a function pointer. 0 when there is none. */
static int find(Library library, const char* name, void* function)
{
#if defined(_WIN32)
    FARPROC address = GetProcAddress(library, name);
#else
    void* address = dlsym(library, name);
#endif
    memcpy(function, &address, sizeof address);
    return address != NULL;
}

static int findAll(Library library, Functions* functions)
{
    return find(library, "orvIdx_connectToOrvaneOrvFile", &functions->connect) &&
           find(library, "orvIdx_numberOfElements", &functions->count) &&
           find(library, "orvIdx_disconnectFromOrvaneOrvFile", &functions->disconnect);
}

static int printPointCount(const Functions* functions, const char* path)
{
    IdxConnection* job = NULL;
    uint32_t count = 0;
    int32_t result;
    if (functions->connect(&job, path, 0) != IDX_OK) {
        fprintf(stderr, "%s: cannot be opened as a job database\n", path);
        return 1;
    }
    result = functions->count(job, ELEMENT_POINT, &count, NULL);
    if (result == IDX_OK) printf("%u points\n", (unsigned)count);
    if (functions->disconnect(&job) != IDX_OK) result = IDX_ERROR;
    return result == IDX_OK ? 0 : 1;
}

int main(int argumentCount, char** arguments)
{
    Library library;
    Functions functions;
    int status;
    if (argumentCount != 3) {
        fprintf(stderr, "usage: loading_host LIBRARY JOB\n");
        return 2;
    }
    library = loadLibrary(arguments[1]);
    if (library == NULL || !findAll(library, &functions)) {
        fprintf(stderr, "%s: cannot be loaded\n", arguments[1]);
        return 1;
    }
    status = printPointCount(&functions, arguments[2]);
    unloadLibrary(library);
    return status;
}
