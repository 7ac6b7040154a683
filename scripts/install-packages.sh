#!/usr/bin/env bash
# Installs the packages of scripts/packages.txt that this machine lacks. Silent and quick if none is
# missing. The other scripts call it.
set -euo pipefail
cd "$(dirname "$0")"
export LC_ALL=C # one sorting order, and apt's messages in one language

mapfile -t wanted < <(sed 's/#.*//' packages.txt | tr -s '[:space:]' '\n' | sed '/^$/d' | sort -u)
missing=("${wanted[@]}")

fail() {
    printf 'install-packages: %s\n' "$1" "missing: ${missing[*]}" >&2
    exit 1
}

command -v dpkg-query >/dev/null || fail "this is no Debian system: CONTRIBUTING.md says what to do"

# A name that dpkg does not know counts as missing. If the name is wrong, apt-get reports it.
installed=$(dpkg-query --show --showformat='${db:Status-Status} ${Package}\n' "${wanted[@]}" \
                2>/dev/null | sed -n 's/^installed //p' | sort -u) || true
mapfile -t missing < <(comm -23 <(printf '%s\n' "${wanted[@]}") <(printf '%s\n' "$installed"))
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
    command -v sudo >/dev/null ||
        fail "needs root or sudo; ask an administrator to install what is missing"
    as_root=(sudo)
    [[ -t 0 ]] || as_root+=(--non-interactive)
fi

apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get -qq -o Dpkg::Use-Pty=0 "$@" >/dev/null
}
echo "Installing ${missing[*]}" >&2
apt update || fail "apt-get could not update its lists of packages"
apt install --no-install-recommends "${missing[@]}" || fail "apt-get could not install them"
