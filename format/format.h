// What stands in a job database file: the header record and the lock bytes, node pages and
// their entries, the order of keys, limits and result codes.
//
// Boundary of format/, the lowest floor, for all others. It computes and does nothing: no
// file, no state.
#pragma once

#include "format/bytes.h"
#include "format/file_format.h"
#include "format/header.h"
#include "format/key_order.h"
#include "format/node_page.h"
#include "format/results.h"
