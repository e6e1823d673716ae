#include "cogo/cogo_state.h"

CogoState cogoState = {};
