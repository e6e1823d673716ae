/*
 * A host that packs its structures where it includes the header: the records are laid out
 * as ever, which the header checks, and the host's packing is in force again behind it.
 */
#pragma pack(push, 1)
#include "orvIdx.h"

typedef struct Packed {
    char text;
    double number;
    PointElement point;
} Packed;
#pragma pack(pop)

typedef char PackingIsInForce[sizeof(Packed) == 1 + 8 + 2384 ? 1 : -1];
