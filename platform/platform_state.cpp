#include "platform/platform_state.h"

PlatformState platformState = {
    .formatVersion = CURRENT_FORMAT_VERSION, .cache = {}, .lastIoError = 0, .lockRequest = {}};
