#!/usr/bin/env bash
# Builds and runs the benchmarks; prints for every function and length our time and each peer's, and ours divided by
# the peer's: shortest time of the repetitions, all contestants of a program mixed in one run. With gnuplot, time over
# length goes to build/bench/plots.
# usage: scripts/bench.sh [PROGRAM ...] [--benchmark_OPTION ...]
#   PROGRAM   vector_math, arithmetic, streams, distributions, data_fitting; without one all of them
#   OPTION    of Google Benchmark, for instance --benchmark_filter=dExp/
set -eu -o pipefail
cd "$(dirname "$0")/.."
build=build/bench
scripts/setup.sh demo
programs=() options=()
for argument in "$@"; do
    case $argument in
    --*) options+=("$argument") ;;
    *) programs+=("$argument") ;;
    esac
done
cmake -S . -B $build -DCMAKE_BUILD_TYPE=Release -DQOR_BUILD_BENCHMARKS=ON -DQOR_BUILD_TESTS=OFF \
      -DQOR_BUILD_EXAMPLES=OFF >/dev/null
cmake --build $build -j2 >/dev/null
if [ ${#programs[@]} = 0 ]; then
    for program in $build/bin/*_bench; do
        [ -x "$program" ] || { echo "Google Benchmark (Debian's libbenchmark-dev) is needed." >&2; exit 1; }
        program=${program##*/}
        programs+=("${program%_bench}")
    done
fi
for program in "${programs[@]}"; do
    printf '\n%s\n\n' "$program"
    "$build/bin/${program}_bench" --benchmark_enable_random_interleaving=true --benchmark_repetitions=15 \
        --benchmark_min_time=0.01 --benchmark_report_aggregates_only=true --benchmark_out="$build/$program.json" \
        --benchmark_out_format=json "${options[@]}" >/dev/null
    tools/bench_table.py "$build/$program.json" "$build/plots"
done
