// The writable state of cogo/, all of it. Zero when the process starts. For cogo/, tools and
// tests.
#pragma once

#include "cogo/cogo.h"
#include "cogo/record_layouts.h"
#include "cogo/vertical_curves.h"

// The whole key under which an element lies, of which its name is only a part.
struct WalkKey {
    char text[KEY_BUFFER_SIZE];
};

struct CogoState {
    // Connection: for each kind the key of the element that the last step of its walk reached,
    // empty before the first; of profiles also that of the one looked up since. In the walk of
    // chains that may be a continuation.
    WalkKey lastCurve;
    WalkKey lastLine;
    WalkKey lastSpiral;
    WalkKey lastChain;
    WalkKey lastProfile;

    // Built by every start-up, and constant until the next one but for the length of the
    // point block.
    LayoutEntry chainLayout[CHAIN_FIELDS + 1];
    LayoutEntry olderChainLayout[CHAIN_FIELDS + 1];
    LayoutEntry curveLayout[CURVE_FIELDS + 1];
    LayoutEntry lineLayout[LINE_FIELDS + 1];
    LayoutEntry spiralLayout[SPIRAL_FIELDS + 1];
    LayoutEntry extensionLayout[EXTENSION_FIELDS + 1];
    LayoutEntry versionLayout[VERSION_FIELDS + 1];
    LayoutEntry profileDataLayout[PROFILE_DATA_FIELDS + 1];
    LayoutPlan chainPlan;
    LayoutPlan olderChainPlan;
    LayoutPlan curvePlan;
    LayoutPlan linePlan;
    LayoutPlan spiralPlan;
    LayoutPlan extensionPlan;
    LayoutPlan versionPlan;
    LayoutPlan profileDataPlan;

    // Variables of the layouts: each holds the record read or stored last through its layout.
    // Their name members are no fields.
    ChainResult chain;
    ChainResult olderChain;
    CurveResult curve;
    LineResult line;
    SpiralResult spiral;
    ExtensionResult extension;
    int32_t versionCounter;
    char profileSecondaryKey[PROFILE_SECONDARY_KEY_ROOM];
    alignas(8) uint8_t pointBlock[PROFILE_BLOCK_ROOM];

    // One readProfile: the current point, carried from one data record to the next.
    ProfilePoint profilePoint;
};

extern CogoState cogoState;
