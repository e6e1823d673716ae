// Extension records of lines: the one write that reading an element may need. For
// cogo/ alone.
#pragma once

#include "cogo/cogo.h"

// Reads the extension record of a line, or adds an empty one with the next element number when
// there is none. Returns COGO_OK, or COGO_FAILED when it can neither be read nor added.
int readOrCreateLineExtension(RecordFile* job, const char* lineName, ExtensionResult* extension);
