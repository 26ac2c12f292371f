// The floor for any exchange between two processes: a request and its reply of the same
// size over a Unix socket pair, with blocking reads and writes on both sides and nothing
// else. The benchmarks that time a real exchange run it beside their own figures.

#ifndef BENCH_RAW_PING_PONG_H_
#define BENCH_RAW_PING_PONG_H_

#include <cstddef>

#include "benchmark/benchmark.h"

namespace bench {

// Times one round trip of |message_size| bytes (at most 256) each way per iteration,
// against an echo process forked for the run.
void RunRawUnixSocketPingPong(benchmark::State& state, size_t message_size);

}  // namespace bench

#endif  // BENCH_RAW_PING_PONG_H_
