// Layouts of the COGO records. For cogo/, tools and tests.
#pragma once

#include "records/records.h"

constexpr int CHAIN_FIELDS = 5; // of the older layout too
constexpr int CURVE_FIELDS = 36;
constexpr int LINE_FIELDS = 5;
constexpr int SPIRAL_FIELDS = 54;
constexpr int EXTENSION_FIELDS = 10;
constexpr int VERSION_FIELDS = 2;
constexpr int PROFILE_DATA_FIELDS = 3;

// Field of the description in both chain layouts.
constexpr int CHAIN_DESCRIPTION_FIELD = 1;

// Field of the point block in the profile data layout. After a read its length is that of the
// block read; its room stays PROFILE_BLOCK_ROOM.
constexpr int PROFILE_BLOCK_FIELD = 2;

// A point block: up to 100 profile points of 24 bytes.
constexpr int PROFILE_POINT_SIZE = 24;
constexpr int PROFILE_BLOCK_ROOM = 2400;
constexpr int PROFILE_SECONDARY_KEY_ROOM = 9;
