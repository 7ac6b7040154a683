#!/usr/bin/env bash
# Builds the fuzz targets and searches for inputs that break them:
#
#     scripts/fuzz.sh MINUTES [corpus...]
#
# The minutes are divided among the given corpora, by default all of fuzz/README.md. JOBS is the
# number of corpora at a time, by default the number of processors. New inputs are kept for the next
# run in build/fuzz/corpora, which is minimised if a corpus has a minute or more. Finds are kept in
# build/fuzz/finds. Fails when there are finds, and lists their files.
set -euo pipefail
cd "$(dirname "$0")/.."

minutes=${1-}
[[ $minutes =~ ^[0-9]+$ ]] && ((minutes > 0)) || { sed -n '2,4s/^# \?//p' "$0" >&2; exit 2; }
shift

# Target by corpus. Scene files and textures have a corpus for each format.
declare -A target=(
    [asset-reference]=AssetReferenceFuzz [attribute-file]=AttributeFileFuzz
    [attribute-xml]=AttributeXmlFuzz [capture]=CaptureFuzz
    [compressed-file]=CompressedFileFuzz
    [configuration]=ConfigurationFuzz [cooking]=CookingFuzz
    [description-json]=DescriptionJsonFuzz [location-delegates]=LocationDelegatesFuzz
    [reader-reply]=ReaderReplyFuzz [resolution-file]=ResolutionFileFuzz)
for format in dae fbx glb gltf obj ply stl; do
    target[scene-import-$format]=SceneImportFuzz
done
for format in bmp exr gif hdr jpg png tga tif webp; do
    target[texture-$format]=TextureFuzz
done

mapfile -t all < <(printf '%s\n' "${!target[@]}" | sort)
corpora=("${@:-${all[@]}}")
for corpus in "${corpora[@]}"; do
    [[ ${target[$corpus]-} ]] || { echo "fuzz: no corpus \"$corpus\"; there are: ${all[*]}" >&2; exit 2; }
done

scripts/install-packages.sh
cmake --preset fuzz
cmake --build --preset fuzz --parallel "$(nproc)" --target fuzzers

jobs=${JOBS:-$(nproc)}
((jobs < ${#corpora[@]})) || jobs=${#corpora[@]}
share=$((minutes * 60 * jobs / ${#corpora[@]}))
((share > 0)) || share=1
build=$PWD/build/fuzz
mkdir -p "$build/logs"

# Runs one corpus for its share of the time. libFuzzer ends at a find and is then started again.
run_corpus() { # <corpus> <target>
    local corpus=$1 seeds=$PWD/fuzz/seeds/$1 learnt=$build/corpora/$1 finds=$build/finds/$1
    local log=$build/logs/$1.log end=$((SECONDS + share)) limits=(-rss_limit_mb=2048 -timeout=20)
    mkdir -p "$learnt" "$finds"
    : >"$log"
    cd "$finds"
    for find in *; do # of earlier runs: those that are mended go
        [[ ! -f $find ]] || ! "$build/bin/$2" "${limits[@]}" "$find" >>"$log" 2>&1 || rm "$find"
    done
    while ((SECONDS < end)); do
        "$build/bin/$2" "${limits[@]}" -max_len=16384 -max_total_time=$((end - SECONDS)) \
            -print_final_stats=1 "$learnt" "$seeds" >>"$log" 2>&1 || true
    done
    ((share >= 60)) || return 0
    rm -rf "$learnt.small"
    mkdir "$learnt.small"
    "$build/bin/$2" "${limits[@]}" -merge=1 "$learnt.small" "$learnt" >>"$log" 2>&1 || return 0
    rm -r "$learnt"
    mv "$learnt.small" "$learnt"
}
export ASAN_OPTIONS=detect_leaks=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}

echo "fuzz: ${#corpora[@]} corpora, $share s each, $jobs at once"
running=0
for corpus in "${corpora[@]}"; do
    ((running < jobs)) || { wait -n || true; running=$((running - 1)); }
    (run_corpus "$corpus" "${target[$corpus]}" && echo "fuzz: $corpus is done") &
    running=$((running + 1))
done
wait

printf '\n%-20s %10s %9s %9s %7s %6s\n' corpus runs coverage features inputs finds
status=0
for corpus in "${corpora[@]}"; do
    log=$build/logs/$corpus.log
    runs=$(awk '/^stat::number_of_executed_units/ { n += $2 } END { print n + 0 }' "$log")
    if ((runs == 0)); then
        echo "fuzz: $corpus did not run; see $log" >&2
        status=1
    fi
    read -r coverage features < <(sed -n 's/.* cov: \([0-9]*\) ft: \([0-9]*\) .*/\1 \2/p' "$log" |
                                      sort -n | tail -1) || true
    inputs=$(find "$build/corpora/$corpus" -type f | wc -l)
    finds=$(find "$build/finds/$corpus" -type f | wc -l)
    printf '%-20s %10s %9s %9s %7s %6s\n' "$corpus" "$runs" "${coverage:-0}" "${features:-0}" \
        "$inputs" "$finds"
    ((finds == 0)) || status=1
done
for corpus in "${corpora[@]}"; do
    find "$build/finds/$corpus" -type f -printf "fuzz: find in $corpus: %p\n" >&2
done
exit $status
