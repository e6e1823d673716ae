// A whole job database file made of its entries, its pages filled in order.
//
// Part of tools/writer/, which keeps no state.
#pragma once

#include <cstdint>
#include <vector>

// Returns the file that holds these entries of leaves, or nothing when they need more pages than a
// file may have. The entries are well formed, in the order of compareWithSegments, each key
// once.
std::vector<uint8_t> packTree(const std::vector<const uint8_t*>& entries, int32_t sequenceCounter,
                              uint32_t changeCounter);
