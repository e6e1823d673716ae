// The writable state of api/, all of it. For api/ alone.
#pragma once

#include "api/orvIdx.h"

#include <cstdint>

constexpr int RECORD_BUFFER_SIZE = 16384;

// A handle, and the one handed out before it that was not released either.
struct LiveHandle {
    IdxConnection connection; // what the host sees, so the two have one address
    LiveHandle* former;
};

struct ApiState {
    // Process: connect adds to them, disconnect takes away.
    LiveHandle* handles; // handed out and not released, the latest first

    // Connection: set by connect, until disconnect.
    IdxConnection* connection;                // the handle in force, null when no file is open
    uint8_t recordBuffer[RECORD_BUFFER_SIZE]; // lent to the record layer
};

extern ApiState apiState;

// True for the handle that connect handed out last, until it is disconnected. Element
// operations refuse any other handle.
inline bool handleIsInForce(const IdxConnection* handle)
{
    return handle != nullptr && handle == apiState.connection;
}
