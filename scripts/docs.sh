#!/usr/bin/env bash
# Builds the documentation into build/docs/html: guides, every public entry, a page a family of functions with its
# special values, errors and plots of its speed.
set -eu -o pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh docs
cmake --preset release >/dev/null # makes the header of vector math's entries
rm -rf build/docs
mkdir -p build/docs
tools/make_function_pages.py build/docs/functions
doxygen docs/Doxyfile 2>build/docs/warnings.txt
[ ! -d build/docs/functions/plots ] || cp -r build/docs/functions/plots build/docs/html
echo "build/docs/html/index.html: $(find build/docs/html -name '*.html' | wc -l) pages"
