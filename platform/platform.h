// The system: files with byte locks, a clock, the heap. Nothing above this floor sees it.
//
// Boundary of platform/, for all floors above. One header for both systems, one source file
// each, chosen by the build. Descriptors and blocks belong to the callers; its state, in
// platform_state.h, counts forks.
#pragma once

#include "platform/heap.h"
#include "platform/os.h"
