// Profile geometry: the entries of a profile's point blocks become a list of
// segments, straight grades and parabolic vertical curves. Pure arithmetic, no
// file. For cogo/ and its tests.
//
//   code      entry
//   positive  ordinary point: station, elevation
//   -13       header, only as the very first entry: first value = header value
//   -1        link: straight and level to the next entry
//   -10       the same, and the current point stays where it is
//   -8        curve by intersection point: back length, ahead length; then the
//             intersection point; then grade in, grade out
//   -3, -4    explicit curve: begin point; then grade in, grade out; then end
//             point (-5 there sets flag 2). May be followed by
//   -9            back length, ahead length, and then the intersection point
//   -12           the turning point
// Any other code of 0 or below is skipped. A group that its block cuts short is
// dropped, and the block ends there.
#pragma once

#include "cogo/cogo.h"

#include <cstdint>

constexpr int MAX_PROFILE_ENTRIES = 100;

// One decoded entry.
struct ProfileEntry {
    int32_t code;
    double first;  // station, length or grade
    double second; // elevation, length or grade
};

// The current point of a profile: where the entries so far have led, and the next one
// goes on. It is carried over from one data record to the next.
struct ProfilePoint {
    int32_t code;
    double station;
    double elevation;
};

// Decodes the entries of a point block of length bytes; answers how many there are.
// An incomplete last entry is not one, nor is any behind MAX_PROFILE_ENTRIES.
int decodeProfileEntries(const uint8_t* block, int length, ProfileEntry* entries);

// Appends the segments that the entries of one data record describe and moves the
// current point on. While the profile has no segment a record counts as its first
// one: it sets header value and current point. COGO_OK, or COGO_FAILED when there is
// no room for a segment; those before it are then in the list.
int buildSegments(ProfileResult* profile, ProfilePoint* current, const ProfileEntry* entries,
                  int count);
