// What every connect resets. For api/ alone.
#pragma once

// Brings the floors below into their initial state: layouts as built, an empty record key, the
// current format version and no job file. Databases that are open are not closed.
void startUpFloors();
