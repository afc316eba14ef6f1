#!/usr/bin/env bash
# Builds the documentation into build/docs/html: guides, every public entry, accuracy and speed.
set -eu -o pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh docs
cmake --preset release >/dev/null # makes the header of vector math's entries
mkdir -p build/docs
doxygen docs/Doxyfile 2>build/docs/warnings.txt
echo "build/docs/html/index.html: $(find build/docs/html -name '*.html' | wc -l) pages"
