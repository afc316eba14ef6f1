#!/usr/bin/env bash
# Installs what is missing for the demo or for the tests, where this user may; else names it and stops.
# usage: scripts/setup.sh demo|test|docs
set -eu -o pipefail

# Each line: what shows that it is there (a command, or a file with a slash in its name), its package.
tools_for_demo='cmake cmake
make make
g++ g++
python3 python3
gnuplot gnuplot-nox'
tools_for_test='cmake cmake
make make
g++ g++
python3 python3
x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
wine64:/usr/lib/wine/wine64 wine64
/usr/src/googletest/CMakeLists.txt googletest
clang++ clang
/usr/lib/llvm-14/lib/clang/14.0.6/lib/linux/libclang_rt.fuzzer-x86_64.a libclang-rt-14-dev'

tools_for_docs='cmake cmake
make make
g++ g++
python3 python3
doxygen doxygen
gnuplot gnuplot-nox'

case ${1:-} in
demo) tools=$tools_for_demo ;;
test) tools=$tools_for_test ;;
docs) tools=$tools_for_docs ;;
*) echo "usage: $0 demo|test|docs" >&2; exit 2 ;;
esac

present() {
    local place
    for place in ${1//:/ }; do
        if [[ $place == */* ]]; then
            [ -e "$place" ] && return 0
        else
            command -v "$place" >/dev/null && return 0
        fi
    done
    return 1
}

missing() {
    local shows package
    while read -r shows package; do
        present "$shows" || echo "$package"
    done <<<"$tools"
}

packages=$(missing | tr '\n' ' ')
[ -n "$packages" ] || exit 0

run_as_root=
if [ "$(id -u)" != 0 ]; then
    run_as_root="sudo -n"
    sudo -n true 2>/dev/null || run_as_root=no
fi
if [ "$run_as_root" = no ] || ! command -v apt-get >/dev/null; then
    echo "Missing packages (Debian's names): $packages" >&2
    echo "Please install them and start again." >&2
    exit 1
fi
echo "Installing: $packages"
export DEBIAN_FRONTEND=noninteractive
$run_as_root apt-get -q update
# shellcheck disable=SC2086
$run_as_root apt-get -q install -y --no-install-recommends $packages

packages=$(missing | tr '\n' ' ')
if [ -n "$packages" ]; then
    echo "Still missing after installation: $packages" >&2
    exit 1
fi
