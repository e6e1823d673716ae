#include "records/records_state.h"

RecordsState recordsState = {};
