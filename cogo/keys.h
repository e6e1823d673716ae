// What the keys of COGO records hold: names that are made up, qualifiers, and the place of the
// key in the layouts. For cogo/, and for the tools that write job databases.
#pragma once

#include "cogo/cogo.h"

#include <cstdio>
#include <cstring>

// The field of the record key in every COGO layout.
constexpr int KEY_FIELD = 0;

// Qualifiers of extension records.
constexpr char EXTENSION_MEMBER[] = "1";
constexpr char EXTENDS_LINE[] = "LIN";
constexpr char EXTENDS_PROFILE[] = "PRO";

// The name of the version counter's record, right-aligned in its field.
constexpr char VERSION_NAME[] = "             VERSION";
static_assert(sizeof VERSION_NAME == ELEMENT_NAME_ROOM);

// The name of a continuation is that of its chain with a suffix, as in MAIN{01}. It is cut to
// this length, so the names of chains longer than 15 characters lose part of the suffix.
constexpr int CONTINUATION_NAME_LENGTH = 19;
constexpr size_t CONTINUATION_SUFFIX_LENGTH = 4;

// Returns the name of a continuation, member being 1 to CHAIN_CONTINUATIONS.
inline ElementName continuationName(const char* chainName, int member)
{
    char whole[ELEMENT_NAME_ROOM + 16];
    std::snprintf(whole, sizeof whole, "%.*s{%02d}", ELEMENT_NAME_LENGTH, chainName, member);
    ElementName name = {};
    copyText(name.text, CONTINUATION_NAME_LENGTH + 1, whole);
    return name;
}

// True where the name of a continuation is its own. Cut, it may be that of the chain or of the
// continuation before, as for names of more than 16 characters: then there is none of this number,
// and the record found by that name is not read once more.
inline bool canContinue(const char* chainName, int member)
{
    ElementName name = continuationName(chainName, member);
    if (std::strcmp(name.text, chainName) == 0) return false;
    return member == 1 || std::strcmp(name.text, continuationName(chainName, member - 1).text) != 0;
}

// True for names that end like the name of a continuation that was not cut.
inline bool isContinuationName(const char* name)
{
    size_t length = std::strlen(name);
    return length >= CONTINUATION_SUFFIX_LENGTH && name[length - 1] == '}' &&
           name[length - CONTINUATION_SUFFIX_LENGTH] == '{';
}
