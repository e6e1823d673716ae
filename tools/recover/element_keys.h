// What the keys of records tell about elements. For tools/recover/.
#pragma once

#include <string>

constexpr int KIND_OF_VERSION = 7; // places in RECOVERED_KINDS behind those of the elements
constexpr int KIND_OF_OTHERS = 8;

constexpr char PART_DATA[] = "profile data";

// The element to which a record belongs, and which part of it the record is.
struct ElementPart {
    int kind; // place in RECOVERED_KINDS
    std::string name;
    std::string part; // empty: the element itself
};

// By the record's primary key, the index first.
ElementPart elementPartOf(const std::string& key);

// Returns the key under which another version of the record can be kept: that of an element of
// another name, the same for every part of an element. attempt, from 0, tells apart the names
// to try. Empty when there is none.
std::string keyOfOtherVersion(const std::string& key, int attempt);
