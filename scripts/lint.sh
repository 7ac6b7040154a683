#!/usr/bin/env bash
# Checks layout with clang-format and code with clang-tidy:
#
#     scripts/lint.sh [--layout] [file...]
#
# --layout stops behind clang-format, after seconds. Without files every tracked C and C++ file is
# checked for layout, and every source of the library, the platform, the plug-ins and the tools for
# the rest (headers through their sources).
set -euo pipefail
cd "$(dirname "$0")/.."

layout_only=false
if [[ ${1-} == --layout ]]; then
    layout_only=true
    shift
fi

scripts/install-packages.sh

# A copy of the sources without their history has no tracked files: there all of them count.
list_files() {
    git ls-files --deduplicate -- "$@" 2>/dev/null ||
        find "$@" -name build -prune -o -type f -print
}
mapfile -t files < <(list_files "${@:-.}" | grep -E '\.(h|hpp|c|cpp)$')
((${#files[@]})) || { echo "lint: no tracked C or C++ file in: ${*:-.}" >&2; exit 1; }

echo "clang-format: ${#files[@]} files"
clang-format --dry-run -Werror "${files[@]}"
$layout_only && exit 0

cmake --preset release >/dev/null # for compile_commands.json
mapfile -t sources < <(printf '%s\n' "${files[@]}" |
                           grep -E '^(src|platform|plugins|tools)/.*\.cpp$' | grep -v '/tests/')
((${#sources[@]})) || exit 0

# A clean file's run prints nothing but how many warnings of others it has hidden.
tidy() {
    local output
    output=$(clang-tidy -p build/release --quiet "$1" 2>&1) && return
    printf '%s\n' "$output"
    return 1
}
export -f tidy
echo "clang-tidy: ${#sources[@]} files"
printf '%s\0' "${sources[@]}" | xargs -0 -n 1 -P "$(nproc)" bash -c 'tidy "$1"' tidy
