#!/usr/bin/env bash
# Sets up, builds and runs the benchmarks; prints for every function and length our time and each peer's,
# and ours divided by the peer's. Shortest time of the repetitions, all of one run. Arguments go to the
# benchmark program (for instance --benchmark_filter=dExp).
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/bench
"$root"/scripts/setup.sh demo
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DQOR_BUILD_BENCHMARKS=ON -DQOR_BUILD_TESTS=OFF \
      -DQOR_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$build" --target vector_math_bench -j2 >/dev/null
"$build/bin/vector_math_bench" --benchmark_enable_random_interleaving=true --benchmark_repetitions=15 \
    --benchmark_min_time=0.02 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/results.json" --benchmark_out_format=json "$@" >/dev/null
python3 - "$build/results.json" <<'PYTHON'
import json, sys

times = {}
for row in json.load(open(sys.argv[1]))["benchmarks"]:
    if row.get("aggregate_name") == "min":
        function, contestant, length = row["run_name"].split("/")[:3]
        times.setdefault((function, int(length)), {})[contestant] = row["cpu_time"]

print(f"{'function':9}{'n':>9}{'ours ns':>13}  peers: ns (ours / peer)")
for (function, length), row in times.items():
    ours = row.pop("ours")
    peers = "   ".join(f"{name} {time:.1f} ({ours / time:.2f})" for name, time in row.items())
    print(f"{function:9}{length:9}{ours:13.1f}  {peers}")
PYTHON
