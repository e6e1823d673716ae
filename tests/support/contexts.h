// What tests ask an open context.
#pragma once

#include "engine/engine.h"

#include <string>

// The key string of the entry that the last operation found.
inline std::string foundKey(const IndexFile& tree) { return tree.found.key + 1; }

// No bracket is open and nothing is held.
inline bool isIdle(const IndexFile& tree)
{
    const Sharing& sharing = tree.file.sharing;
    return sharing.readNesting + sharing.updateNesting + tree.internalCall == 0;
}
