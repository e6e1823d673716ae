#include "api/api_state.h"

ApiState apiState;
