#!/usr/bin/env bash
# Checks layout with clang-format and code with clang-tidy:
#
#     scripts/lint.sh [--layout] [--changed] [file...]
#
# --layout stops after clang-format, which takes seconds. Without files, clang-format checks every
# tracked C and C++ file, and clang-tidy every source of the library, the platform, the plug-ins, the Python module and
# the tools, with the headers that they include. That takes a quarter of an hour on two cores, so
# --changed lets clang-tidy check only the sources that differ from origin's main branch, or from
# the previous commit where that branch holds everything already. A changed header is checked
# through one source.
set -euo pipefail
cd "$(dirname "$0")/.."

layout_only=false
changed_only=false
while [[ ${1-} == --* ]]; do
    case $1 in
    --layout) layout_only=true ;;
    --changed) changed_only=true ;;
    *) echo "lint: unknown option $1" >&2; exit 2 ;;
    esac
    shift
done

scripts/install-packages.sh

# In a copy of the sources without history, all files count as tracked.
list_files() {
    git ls-files --deduplicate -- "$@" 2>/dev/null ||
        find "$@" -name build -prune -o -type f -print
}
mapfile -t files < <(list_files "${@:-.}" | grep -E '\.(h|hpp|c|cpp)$')
((${#files[@]})) || { echo "lint: no tracked C or C++ file in: ${*:-.}" >&2; exit 1; }

echo "clang-format: ${#files[@]} files"
clang-format --dry-run -Werror "${files[@]}"
$layout_only && exit 0

# The commit that changes are counted from. A clone of a single commit has no other one: there,
# everything is a change.
base_commit() {
    local base
    base=$(git merge-base origin/HEAD HEAD 2>/dev/null) || base=$(git rev-parse HEAD)
    [[ $base == "$(git rev-parse HEAD)" ]] || { echo "$base"; return; }
    git rev-parse --quiet --verify HEAD~1 || git hash-object -t tree /dev/null
}

# The source that shows clang-tidy a changed file: itself, or for a header the source of the same
# name, or else the first one that includes it.
source_for() {
    local name=${1##*/} including
    if [[ $name == *.h ]] && ! grep -m 1 "/${name%.h}\.cpp$" <<<"$sources"; then
        including=$(xargs -d '\n' grep -lE "#include [<\"](.*/)?${name}[>\"]" <<<"$sources") || true
        echo "${including%%$'\n'*}"
    fi
    if [[ $name == *.cpp ]]; then echo "$1"; fi
}

# For compile_commands.json. clang-tidy cannot read the precompiled headers of another compiler.
cmake --preset release -DTELLAR_PRECOMPILE_HEADERS=OFF >/dev/null
sources=$(printf '%s\n' "${files[@]}" |
              grep -E '^(src|platform|plugins|python|tools)/.*\.cpp$' | grep -v '/tests/') || exit 0
# In a copy without history, all sources are checked.
if $changed_only && git rev-parse --quiet --verify HEAD >/dev/null; then
    changed=$(git diff --name-only --diff-filter=d "$(base_commit)")
    sources=$(while read -r file; do source_for "$file"; done <<<"$changed" | sort -u |
                  grep -Fx -f <(echo "$sources")) || true
fi
[[ -n $sources ]] || { echo "clang-tidy: no source has changed"; exit 0; }
echo "clang-tidy: $(wc -l <<<"$sources") files"

# For a clean file, clang-tidy prints only the number of hidden warnings.
tidy() {
    local output
    output=$(clang-tidy -p build/release --quiet "$1" 2>&1) && return
    printf '%s\n' "$output"
    return 1
}
export -f tidy
xargs -d '\n' -n 1 -P "$(nproc)" bash -c 'tidy "$1"' tidy <<<"$sources"
