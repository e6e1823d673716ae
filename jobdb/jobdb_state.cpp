#include "jobdb/jobdb_state.h"

JobdbState jobdbState = {};
