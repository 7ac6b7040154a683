#!/usr/bin/env bash
# Builds the benchmarks in release mode and prints the table of docs/performance.md:
#
#     scripts/bench.sh [--leaves N]... [--runs K] [--rows REGEX] [--markdown] [--scenes DIR]
#
# All figures take about ten minutes, --leaves 100000 alone much less.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh >&2
cmake --preset release -B build/bench -DTELLAR_BUILD_BENCHMARKS=ON \
    -DTELLAR_BUILD_TESTS=OFF -DTELLAR_BUILD_TOOLS=OFF >/dev/null
cmake --build build/bench --target tellar_bench --parallel "$(nproc)" >&2

exec python3 -B benchmarks/table.py --bench build/bench/bin/tellar_bench \
    --scenes build/bench/scenes "$@"
