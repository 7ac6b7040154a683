#!/usr/bin/env bash
# Makes the seeds again with MakeSampleFiles. Finds are kept:
#
#     fuzz/make_seeds.sh <build folder>/bin/MakeSampleFiles
set -euo pipefail
make=$(realpath "$1")
cd "$(dirname "$0")/seeds"

files=$(mktemp -d)
trap 'rm -r "$files"' EXIT
"$make" "$files"

# Small inputs are the most useful to a fuzzer.
largest=4096
take() { # <folder> <ending>...
    local folder=$1 ending file
    shift
    mkdir -p "$folder"
    find "$folder" -type f ! -name 'find-*' -delete
    for ending in "$@"; do
        for file in "$files"/*."$ending"; do
            (($(stat -c %s "$file") <= largest)) && cp "$file" "$folder"
        done
    done
    return 0
}
take attribute-file oxa oxo
take attribute-xml xml
take compressed-file oxz
take description-json json
