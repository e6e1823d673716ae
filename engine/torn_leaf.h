// What killed processes have left in the tree, mended where entries are to be changed. For
// engine/, inside an update.
//
// A page that was cut, while no branch knows its right half yet: searches go aside to it.
// A leaf older than its split, left by a program that writes parents before leaves: its upper
// entries stand in the next leaf of its parent too, where searches find them.
#pragma once

#include "engine/descent.h"

// Descends to the leaf in which entries are to be changed. Splits on the way are finished; from
// a leaf older than its split the entries above the bound that the parent gives it go, or a
// change would bring them back.
// False when a page is damaged or cannot be read or written.
bool descendToChange(IndexFile* tree, const SoughtKey* sought, Descent* way);
