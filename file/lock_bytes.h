// The lock bytes of the header area.
//
//   byte     held
//   0        tried shared by a shared opener; an exclusive opener asks for the range from
//            here with length 0, and keeps it
//   1        shared by a reading bracket, exclusively by an updating one
//   512 + s  exclusively by the opener with user slot s, as long as the file stays open
//
// For file/ alone, and for tests.
#pragma once

#include "file/open_file.h"

constexpr int LOCK_RELEASE = 0;
constexpr int LOCK_AND_WAIT = 1;
constexpr int LOCK_AT_ONCE = 2;

// 0 done, 1 not done; any other mode does nothing and answers 0.
int lockRange(int descriptor, int mode, uint32_t start, uint32_t length);
int lockRangeShared(int descriptor, int mode, uint32_t start, uint32_t length);

// IX_OK or IX_LOCK_FAILED, on one byte.
int lockByteExclusive(int descriptor, uint32_t offset);
int lockByteShared(int descriptor, uint32_t offset);
int tryByte(int descriptor, uint32_t offset);
int releaseByte(int descriptor, uint32_t offset);
int probeByte(int descriptor, uint32_t offset);
// LOCKED when somebody holds the byte, else UNLOCKED.
int slotState(int descriptor, uint32_t offset);

// Claims the lowest free user slot: IX_OK or IX_NO_FREE_SLOT. Who only reads claims the highest,
// out of the way of writers: the record locks that a killed writer left behind in a slot would
// count as alive, and a reader cannot remove them. Nothing in exclusive mode.
int claimUserSlot(OpenFile* file);
