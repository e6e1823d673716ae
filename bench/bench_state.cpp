#include "bench/bench_state.h"

BenchState benchState;
