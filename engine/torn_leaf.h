// A leaf older than its split, as a program that wrote parents before leaves and was killed
// on the way has left it: its upper entries stand in the next leaf of its parent too, where
// searches find them. For engine/, inside an update.
#pragma once

#include "engine/descent.h"

// Descends to the leaf in which entries are to be changed. There the entries above the bound
// that the parent gives it go, if the leaf is such a one, or a change would bring them back.
// False when a page is damaged or cannot be read or written.
bool descendToChange(OpenFile* file, const SoughtKey* sought, Descent* way);
