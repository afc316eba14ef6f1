#!/usr/bin/env bash
# Builds and tests every preset, or those named as arguments; stops at the first that fails. `fuzz` is one more.
set -eu -o pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh test
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:check_initialization_order=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1

[ $# -gt 0 ] || set -- release debug asan tsan windows fuzz

# The sum of the numbers in "[  WORD  ] n tests" lines of GoogleTest programs. Wine ends lines with CR LF.
tests_counted() {
    awk -v word="$1" '{ sub(/\r$/, "") }
        match($0, "\\[  " word "  \\] [0-9]+ tests?[.,]") { split(substr($0, RSTART), part, " "); n += part[4] }
        END { print n + 0 }' "$2"
}

# Saved images made up for a few seconds, from the corpus on.
fuzz() {
    local log=build/test_fuzz.log
    if ! { cmake -S . -B build/fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" -DQOR_SANITIZE=address,undefined -DQOR_BUILD_TESTS=ON &&
        cmake --build build/fuzz --target image_fuzz -j 2 && mkdir -p build/fuzz/found; } >"$log" 2>&1; then
        tail -40 "$log"
        echo "fuzz: build failed"
        exit 1
    fi
    if ! build/fuzz/bin/image_fuzz -max_total_time=6 -max_len=400 -print_final_stats=1 -artifact_prefix=build/fuzz/ \
        build/fuzz/found tests/fuzz/corpus tests/data/images >"$log" 2>&1; then
        grep -vE '^#[0-9]+\s+(NEW|REDUCE|pulse)' "$log" | tail -40
        echo "fuzz: a finding, see $log"
        exit 1
    fi
    grep number_of_executed_units "$log"
}

mkdir -p build
summary= passed=0
for preset in "$@"; do
    if [ "$preset" = fuzz ]; then
        echo "== fuzz"
        fuzz
        continue
    fi
    log=build/test_$preset.log
    started=$SECONDS
    echo "== $preset"
    if ! { cmake --preset "$preset" -DQOR_BUILD_TESTS=ON && cmake --build --preset "$preset"; } >"$log" 2>&1; then
        tail -40 "$log"
        echo "$preset: build failed"
        exit 1
    fi
    status=0
    ctest --preset "$preset" --verbose --no-tests=error -j 2 >"$log" 2>&1 || status=$?
    count=$(tests_counted PASSED "$log")
    if [ "$status" != 0 ]; then
        grep -E 'Failure|error:|ERROR|WARNING: ThreadSanitizer|\[  FAILED  \]' "$log" | head -60 || true
        tail -25 "$log"
        echo "$preset: tests failed, see $log"
        echo "$((passed + count)) passed, $(tests_counted FAILED "$log") failed, in the presets up to $preset"
        exit 1
    fi
    sed -n '/tests passed/,$p' "$log"
    if [ "$count" = 0 ]; then
        echo "$preset: no test ran"
        exit 1
    fi
    passed=$((passed + count))
    # Every build and both systems give the same bits.
    first=${first:-$preset}
    for hashes in build/"$preset"/result_hashes*.txt; do
        if ! diff "build/$first/${hashes##*/}" "$hashes"; then
            echo "$preset: results differ from those of $first"
            exit 1
        fi
    done
    summary+=$(printf '%-10s %5d tests %6d s' "$preset" "$count" $((SECONDS - started)))$'\n'
done
printf '\n%s%d passed, 0 failed\n' "$summary" "$passed"
