#include "engine/engine_state.h"

EngineState engineState = {};
