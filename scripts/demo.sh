#!/usr/bin/env bash
# Builds the library and shows it at work: measured data through vector math and a spline, random variates by the
# million. Pictures go to build/demo.
set -eu -o pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh demo
mkdir -p build
log=build/demo_build.log
echo "Building (log: $log) ..."
# The demo needs no GoogleTest; where it is there, the build stays the one that the tests use.
tests=ON
[ -e /usr/src/googletest/CMakeLists.txt ] || tests=OFF
if ! { cmake --preset release -DQOR_BUILD_TESTS=$tests && cmake --build --preset release --target demo quick_start variates spline_fit; } \
    >"$log" 2>&1; then
    tail -30 "$log" >&2
    exit 1
fi
out=build/demo
mkdir -p $out
headline() { printf '\n=== %s ===\n\n' "$1"; }

headline "Vector math on a measured series"
build/release/bin/demo examples/data/naps.txt $out/curve.txt
echo
gnuplot -e "set terminal dumb 100 24; set key bottom right; set xlabel 'ln(us beyond the earliest)';
            set title 'Share of naps that ended by then';
            plot '$out/curve.txt' using 1:2 title 'measured' with points,
                 '' using 1:3 title 'fitted' with lines"

headline "Random variates"
build/release/bin/variates $out/histogram.txt
plot="set title 'A million Gaussian variates'; set xlabel 'x'; set ylabel 'density'; set style fill solid 0.4;
      plot '$out/histogram.txt' using 1:2 title 'drawn' with boxes, '' using 1:3 title 'density' with lines"
gnuplot -e "set terminal svg size 900,600; set output '$out/histogram.svg'; $plot"
echo
gnuplot -e "set terminal dumb 100 24; $plot"

headline "A spline through the series"
build/release/bin/spline_fit examples/data/naps.txt $out/spline.txt
gnuplot -e "set terminal svg size 900,600; set output '$out/spline.svg'; set title 'Naps of 1 ms';
            set xlabel 'nap'; set ylabel 'us late';
            plot '$out/spline.txt' using 1:2 title 'measured' with points pt 7 ps 0.4,
                 '' using 1:3 title 'linear spline of medians' with lines lw 2"

headline "Pictures"
ls $out/*.svg
