#!/usr/bin/env bash
# Makes a virtual environment with the packages of python/requirements.txt, build/python-environment,
# and prints the path of its interpreter. Silent and quick if it is there. Prints nothing but a reason
# on standard error where the Python module cannot be built, which is no failure. TELLAR_PYTHON in the
# environment names another interpreter than python3.
set -euo pipefail
cd "$(dirname "$0")/.."

python=${TELLAR_PYTHON:-python3}
environment=$PWD/build/python-environment
stamp=$environment/requirements.txt

give_up() {
    echo "The Python module is not built: $1" >&2
    exit 0
}

command -v "$python" >/dev/null || give_up "there is no $python"
"$python" -c 'import sys; sys.exit(sys.version_info < (3, 11))' ||
    give_up "$("$python" --version) is older than 3.11"
"$python" -c 'import ensurepip, venv' 2>/dev/null || give_up "$python lacks the module venv"
header=$("$python" -c 'import sysconfig; print(sysconfig.get_path("include") + "/Python.h")')
[[ -e $header ]] || give_up "$python lacks the files for development ($header)"

if ! cmp --silent python/requirements.txt "$stamp"; then
    echo "Making an environment for Python in build/" >&2
    rm -rf "$environment"
    "$python" -m venv "$environment"
    "$environment/bin/python" -m pip --quiet --disable-pip-version-check install \
        --requirement python/requirements.txt ||
        { rm -rf "$environment"; give_up "pip could not install its packages"; }
    cp python/requirements.txt "$stamp"
fi
echo "$environment/bin/python"
