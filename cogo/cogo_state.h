// The writable state of cogo/, all of it. Zero when the process starts. For cogo/
// and its tests.
#pragma once

#include "cogo/cogo.h"
#include "cogo/record_key.h"
#include "cogo/record_layouts.h"
#include "cogo/vertical_curves.h"

// The parts of a record key, each terminated.
struct KeyComponents {
    char recordTag[TAG_LENGTH + 1];
    char elementName[ELEMENT_NAME_ROOM];
    char qualifierA[QUALIFIER_A_LENGTH + 1];
    char qualifierB[QUALIFIER_B_LENGTH + 1];
    char qualifierC[QUALIFIER_C_LENGTH + 1];
};

struct CogoState {
    // Operation: every lookup, search and step overwrites these. The record key is
    // also the first field of every layout, so reads fill it too.
    KeyComponents components;
    char recordKey[RECORD_KEY_ROOM];
    char profileSecondaryKey[PROFILE_SECONDARY_KEY_ROOM];

    // Process: name of the element that the kind's last first or next step
    // reached; that of chains also walks over continuations.
    char lastCurve[ELEMENT_NAME_ROOM];
    char lastLine[ELEMENT_NAME_ROOM];
    char lastSpiral[ELEMENT_NAME_ROOM];
    char lastChain[ELEMENT_NAME_ROOM];

    // Built by every start-up, constant in between but for the length of the point
    // block.
    LayoutEntry chainLayout[CHAIN_FIELDS + 1];
    LayoutEntry olderChainLayout[CHAIN_FIELDS + 1];
    LayoutEntry curveLayout[CURVE_FIELDS + 1];
    LayoutEntry lineLayout[LINE_FIELDS + 1];
    LayoutEntry spiralLayout[SPIRAL_FIELDS + 1];
    LayoutEntry extensionLayout[EXTENSION_FIELDS + 1];
    LayoutEntry versionLayout[VERSION_FIELDS + 1];
    LayoutEntry profileDataLayout[PROFILE_DATA_FIELDS + 1];

    // Variables of the layouts: each holds the record read or stored last through
    // its layout. Names are not stored.
    ChainResult chain;
    ChainResult olderChain;
    CurveResult curve;
    LineResult line;
    SpiralResult spiral;
    ExtensionResult extension;
    int32_t versionCounter;
    alignas(8) uint8_t pointBlock[PROFILE_BLOCK_ROOM];

    // One readProfile: from one data record to the next.
    ProfilePoint profilePoint;
};

extern CogoState cogoState;
