// Positioning the lower layers on an element of a kind. For api/ alone.
//
// Kinds are 0 to 6. An answer other than 0 means that the lower layers stand on an
// element: of the kinds 0 to 5 its name is then the current name, of survey chains
// the position of their index tells it. First steps also answer an engine's failure
// code, which is below 0.
#pragma once

#include <cstdint>

int positionByName(uint32_t kind, const char* name, int slot);
int positionOnFirst(uint32_t kind, int slot);
int positionOnNext(uint32_t kind, int slot);
