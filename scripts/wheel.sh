#!/usr/bin/env bash
# Packs what the release build has made into a wheel in build/wheel, unless the one there is newer.
# `pip install .` builds everything by itself; this takes seconds.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/release
folder=build/wheel
mkdir -p "$folder"
made=$(find "$folder" -name "*.whl" | head -n 1)
parts=("$build/bin/tellar" "$build/lib" "$build/python" pyproject.toml python/tellar README.md examples)
if [[ -n $made ]]; then
    [[ -n $(find "${parts[@]}" -newer "$made" -not -type d -print -quit) ]] || exit 0
    rm -rf "$folder"
fi

# The build's own choices stay as they are: whether it has tests, and the interpreter that runs them.
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
kept=()
for name in TELLAR_BUILD_TESTS _Python3_EXECUTABLE; do
    [[ -z $(cached "$name") ]] || kept+=(--config-settings "cmake.define.${name#_}=$(cached "$name")")
done
log=$build/wheel.log
build/python-environment/bin/python -m pip --disable-pip-version-check wheel . \
    --no-build-isolation --no-deps --wheel-dir "$folder" --config-settings "build-dir=$build" \
    "${kept[@]}" >"$log" 2>&1 || {
    cat "$log" >&2
    exit 1
}
