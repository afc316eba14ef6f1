#!/usr/bin/env bash
# Builds the library and shows it at work on measured data.
set -eu -o pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh demo
mkdir -p build
log=build/demo_build.log
echo "Building (log: $log) ..."
# The demo needs no GoogleTest; where it is there, the build stays the one that the tests use.
tests=ON
[ -e /usr/src/googletest/CMakeLists.txt ] || tests=OFF
if ! { cmake --preset release -DQOR_BUILD_TESTS=$tests && cmake --build --preset release --target demo quick_start; } \
    >"$log" 2>&1; then
    tail -30 "$log" >&2
    exit 1
fi
echo
build/release/bin/demo examples/data/naps.txt build/demo_curve.txt
echo
gnuplot -e "set terminal dumb 100 24; set key bottom right; set xlabel 'ln(us beyond the earliest)';
            set title 'Share of naps that ended by then';
            plot 'build/demo_curve.txt' using 1:2 title 'measured' with points,
                 '' using 1:3 title 'fitted' with lines"
