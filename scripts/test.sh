#!/usr/bin/env bash
# Builds a preset and runs its tests:
#
#     scripts/test.sh [release|asan|tsan] [arguments for ctest...]
#
# The preset is release unless named. TELLAR_CMAKE_OPTIONS in the environment goes to CMake. Fails
# when a test fails and when none ran.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=release
if (($#)) && [[ $1 != -* ]]; then
    preset=$1
    shift
fi

scripts/install-packages.sh
read -ra cmake_options <<<"${TELLAR_CMAKE_OPTIONS-}"
python=$(scripts/python.sh)
[[ -z $python ]] || cmake_options+=("-DPython_EXECUTABLE=$python")
cmake --preset "$preset" "${cmake_options[@]}"
cmake --build --preset "$preset" --parallel "$(nproc)"

# A test installs it.
[[ -z $python || $preset != release ]] || scripts/wheel.sh

# Only sanitizers read these variables. Options from the caller's environment come last and win.
options() { echo "$1${2:+:$2}"; }
supp=$PWD/scripts/sanitizers
# Without its own look at thread-local memory: LeakSanitizer of GCC 12 takes some small blocks of it
# for those of an older C library, and crashes.
asan=detect_leaks=1:strict_string_checks=1:check_initialization_order=1:intercept_tls_get_addr=0
ASAN_OPTIONS=$(options "$asan" "${ASAN_OPTIONS-}")
LSAN_OPTIONS=$(options "suppressions=$supp/lsan.supp:print_suppressions=0" "${LSAN_OPTIONS-}")
UBSAN_OPTIONS=$(options print_stacktrace=1:halt_on_error=1 "${UBSAN_OPTIONS-}")
TSAN_OPTIONS=$(options "suppressions=$supp/tsan.supp:halt_on_error=1:second_deadlock_stack=1" \
                       "${TSAN_OPTIONS-}")
export ASAN_OPTIONS LSAN_OPTIONS UBSAN_OPTIONS TSAN_OPTIONS

# ThreadSanitizer of GCC 12 cannot start on kernels that randomise more address bits than it
# supports. It can start without randomisation, which some containers do not allow to switch off.
launcher=()
if [[ $preset == tsan ]] && setarch --addr-no-randomize true 2>/dev/null; then
    launcher=(setarch --addr-no-randomize)
fi

"${launcher[@]}" ctest --preset "$preset" --no-tests=error --parallel "$(nproc)" "$@"
