// A host with an `initialize` of its own, exported from the program as the library
// exports one. The library must keep calling its own: the exit status is the number
// of calls that came here, or 100 when the job could not be used.

#define ORVIDX_WITHOUT_INITIALIZE
#include "orvIdx.h"

#include <algorithm>

static int calls = 0;

extern "C" __attribute__((visibility("default"))) int32_t initialize()
{
    ++calls;
    return IDX_ERROR;
}

int main(int argumentCount, char** arguments)
{
    IdxConnection* job = nullptr;
    if (argumentCount != 2) return 100;
    if (orvIdx_connectToOrvaneOrvFile(&job, arguments[1], 0) != IDX_OK) return calls + 100;
    void* element = nullptr;
    int32_t read = orvIdx_readFirstElement(job, ELEMENT_POINT, &element);
    orvIdx_freeElement(ELEMENT_POINT, &element);
    if (read != IDX_OK || orvIdx_disconnectFromOrvaneOrvFile(&job) != IDX_OK) return calls + 100;
    return std::min(calls, 99);
}
