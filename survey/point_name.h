// Names of points, and the keys under which points are filed. For survey/ and tests.
//
// A name is digits, or letters followed by digits. Its key has 15 characters: the digits
// right-justified, the letters over the blanks at its beginning.
#pragma once

#include "survey/survey.h"

constexpr int SPLIT_NAME_ROOM = 16;
constexpr int SPLIT_OK = 0;
constexpr int SPLIT_NO_NUMBER = 1;    // empty, zeros only, or no digit at the end
constexpr int SPLIT_NO_PREFIX = 2;    // something else than letters before the digits
constexpr int SPLIT_OUT_OF_RANGE = 3; // 16 characters or more, or the number is 0

bool isAllDigits(const char* text);
int trailingDigitsStart(const char* text);
// Parts a name into letters and digits, each given SPLIT_NAME_ROOM bytes. SPLIT_...
int splitPointName(const char* text, char* prefix, char* number);

// Builds the key of a name, SURVEY_NAME_ROOM bytes. SURVEY_OK, or SPLIT_...: why the name
// cannot be a point's.
int buildPointNameKey(char* key, const char* name);

// Writes the point name that a key stands for, without the blanks before it and among
// its first characters, into room bytes. Returns its length.
size_t nameOfKey(char* name, size_t room, const char* key);

// Removes the blanks among the first characters of a name. One made of digits alone has none.
void removeBlanks(char* name);
