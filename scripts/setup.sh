#!/usr/bin/env bash
# Installs what building and testing need and this machine lacks, from the distribution's packages.
#
#   scripts/setup.sh             everything
#   scripts/setup.sh --linux     what the Linux builds and the demo need
#   scripts/setup.sh --windows   what the Windows cross build and its tests under Wine need
set -euo pipefail

fail() {
    echo "setup: $1" >&2
    exit 1
}

both=(cmake ninja-build python3 git nlohmann-json3-dev googletest libcli11-dev libtinyobjloader-dev
    assimp-testmodels)
# zlib1g-dev: Assimp's package does not ask for it, but programs that link Assimp need it.
# locales: the tests make themselves a locale with a decimal comma.
linux=(g++ libgtest-dev libassimp-dev zlib1g-dev clang-format clang-tidy locales)
# clang, lld and llvm make the caller that follows the MSVC ABI.
windows=(g++-mingw-w64-x86-64-posix wine wine64 clang lld llvm)

case "${1-}" in
"") wanted=("${both[@]}" "${linux[@]}" "${windows[@]}") ;;
--linux) wanted=("${both[@]}" "${linux[@]}") ;;
--windows) wanted=("${both[@]}" "${windows[@]}") ;;
*) fail "unknown option $1 (use --linux or --windows, or neither for both)" ;;
esac

command -v dpkg-query >/dev/null && command -v apt-get >/dev/null ||
    fail "this system has no apt-get; install these by its own means: ${wanted[*]}"

installed=" $(dpkg-query --show --showformat '${db:Status-Status} ${Package}\n' |
    sed -n 's/^installed //p' | tr '\n' ' ')"
missing=()
for package in "${wanted[@]}"; do
    [[ $installed == *" $package "* ]] || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
    echo "setup: nothing to install"
    exit 0
fi

as_root=()
if ((EUID != 0)); then
    command -v sudo >/dev/null ||
        fail "installing needs root or sudo; missing packages: ${missing[*]}"
    as_root=(sudo)
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300 "$@" \
        </dev/null >>"$log" 2>&1
}

echo "setup: installing ${missing[*]}"
# A source that does not answer may well be one that nothing is wanted from: installing decides.
apt update || true
if ! apt install -y --no-install-recommends "${missing[@]}"; then
    tail -n 20 "$log" >&2
    fail "apt-get could not install the packages; the lines above tell why"
fi
echo "setup: done"
