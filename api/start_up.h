// What every connect resets. For api/, and for tools and tests that open jobs below the exports.
#pragma once

// Brings the floors below into their initial state: layouts as built, record key empty,
// current format version, no job file.
void layerStartUp();
