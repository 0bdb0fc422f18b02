#!/usr/bin/env bash
# Installs what building and testing need and this machine lacks, from the distribution's packages.
# minizip-ng comes as the source of one release, from the folder that Q7_DOWNLOADS names or by a download
# into build/packages; where neither works, a newer suite's package is unpacked there.
#
#   scripts/setup.sh             everything that builds and tests need
#   scripts/setup.sh --linux     what the Linux builds need
#   scripts/setup.sh --demo      what scripts/demo.sh needs, which is less
#   scripts/setup.sh --windows   what the Windows cross build and its tests under Wine need
#   scripts/setup.sh --host      what the Linux builds need, and Blender for scripts/test.sh --host
#   scripts/setup.sh --bench     what the Linux builds need, and what scripts/bench.sh compares with
#   scripts/setup.sh --fuzz      what the Linux builds need, and Clang with libFuzzer for scripts/fuzz.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/jobs.sh

fail() {
    echo "setup: $1" >&2
    exit 1
}

# zlib1g-dev: minizip-ng's and Assimp's packages do not ask for it, but what links them needs it.
both=(cmake ninja-build python3 git nlohmann-json3-dev googletest libcli11-dev libstb-dev
    libtinyobjloader-dev assimp-testmodels zlib1g-dev unzip zip pkgconf)
# locales: the tests make themselves a locale with a decimal comma.
# dpkg-dev, file: cpack finds out by them what the .deb package needs.
# python3-...: the tests of the Python package install it, check its types and hand it arrays.
linux=(g++ libgtest-dev libbenchmark-dev libassimp-dev libtinygltf-dev clang-format clang-tidy cppcheck locales
    doxygen dpkg-dev file python3-mypy python3-numpy python3-pip python3-setuptools python3-wheel)
# clang, lld and llvm make the caller that follows the MSVC ABI. Windows are found by their titles only where
# there is a display: xvfb.
windows=(g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine wine64 xvfb clang lld llvm)
# Build the bridge by which programs under Wine use a Linux package of minizip-ng.
bridge=(libwine-dev wine64-tools)
# Part of what the Linux builds need: neither tests, examples nor linters.
demo=(cmake ninja-build g++ python3 nlohmann-json3-dev libcli11-dev libstb-dev libassimp-dev assimp-testmodels
    zlib1g-dev unzip)
# The applications in which the add-ons are tested.
host=(blender)
# Programs that do the same jobs as the library.
bench=(p7zip-full blender)
# libclang-rt-dev: libFuzzer and the sanitizers.
fuzz=(clang libclang-rt-dev)

case "${1-}" in
"") wanted=("${both[@]}" "${linux[@]}" "${windows[@]}") ;;
--linux) wanted=("${both[@]}" "${linux[@]}") ;;
--demo) wanted=("${demo[@]}") ;;
--windows) wanted=("${both[@]}" "${windows[@]}") ;;
--host) wanted=("${both[@]}" "${linux[@]}" "${host[@]}") ;;
--bench) wanted=("${both[@]}" "${linux[@]}" "${bench[@]}") ;;
--fuzz) wanted=("${both[@]}" "${linux[@]}" "${fuzz[@]}") ;;
*) fail "unknown option $1 (use --linux, --demo, --windows, --host, --bench or --fuzz, or none for both systems)" ;;
esac

[[ ${Q7_DOWNLOADS-} != *";"* ]] ||
    fail "Q7_DOWNLOADS: $Q7_DOWNLOADS contains a semicolon, at which CMake would cut the path"
[[ -z ${Q7_DOWNLOADS-} || -d $Q7_DOWNLOADS ]] || fail "Q7_DOWNLOADS: $Q7_DOWNLOADS is not a folder"
command -v dpkg-query >/dev/null && command -v apt-get >/dev/null ||
    fail "this system has no apt-get; install these by its own means: ${wanted[*]}"

installed=" $(dpkg-query --show --showformat '${db:Status-Status} ${Package}\n' |
    sed -n 's/^installed //p' | tr '\n' ' ')"
missing=()
for package in "${wanted[@]}"; do
    [[ $installed == *" $package "* ]] || missing+=("$package")
done

# What the package of minizip-ng needs besides, where its source cannot be had.
minizip=libminizip-ng-dev
minizip_folder=build/packages/minizip-ng
minizip_missing=()
if [[ " ${wanted[*]} " == *" wine "* ]]; then
    for package in "${bridge[@]}"; do
        [[ $installed == *" $package "* ]] || minizip_missing+=("$package")
    done
fi
lacks_minizip=yes
[[ $installed != *" $minizip "* && ! -e $minizip_folder/complete ]] || lacks_minizip=

# Whether a file of the release is there. Configure ends at a given file that is not the release; one among
# the packages is no more than a copy, which is fetched again.
minizip_source=minizip-ng-4.0.10.tar.gz
is_release() {
    local hash
    hash=$(sed -n 's/^set(Q7_MINIZIP_HASH \(.*\))$/\1/p' cmake/Q7MinizipSource.cmake)
    [[ $(sha256sum <"$1") == "$hash  -" ]]
}
has_minizip_source() {
    local given=${Q7_DOWNLOADS:+$Q7_DOWNLOADS/$minizip_source} kept=build/packages/$minizip_source file
    for file in "$given" "$kept"; do
        [[ ! -d $file ]] || fail "$file is a folder; the source of minizip-ng is a file of that name"
    done
    if [[ -n $given && -e $given ]]; then
        is_release "$given" ||
            fail "$given: not the release that is wanted: its SHA-256 differs from the one in cmake/Q7MinizipSource.cmake"
        return 0
    fi
    [[ -z $given ]] || echo "setup: Q7_DOWNLOADS: $Q7_DOWNLOADS has no $minizip_source"
    [[ -e $kept ]] && is_release "$kept"
}
needs_minizip=
has_minizip_source || [[ -z $lacks_minizip && ${#minizip_missing[@]} -eq 0 ]] || needs_minizip=yes

if ((${#missing[@]} == 0)) && [[ -z $needs_minizip ]]; then
    echo "setup: nothing to install"
    exit 0
fi

as_root=()
can_install=yes
if ((EUID != 0)); then
    as_root=(sudo)
    command -v sudo >/dev/null || can_install=
fi
[[ -n $can_install || ${#missing[@]} -eq 0 ]] ||
    fail "installing needs root or sudo; missing packages: ${missing[*]}"

mkdir -p build/packages
work=$(mktemp -d "$PWD/build/packages/setup.XXXXXX")
# By SIGINT apt-get ends at once while it downloads; what dpkg has begun, it completes first.
trap 'end_jobs INT; rm -rf "$work"' EXIT
log=$work/log
apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300 "$@" \
        </dev/null >>"$log" 2>&1
}

# private_apt PROGRAM ARGUMENT...: an apt program that sees one suite, by the system's proxies, and
# nothing of the system's own lists.
private_apt() {
    local program=$1
    shift
    "$program" -q -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::Etc::Preferences=/dev/null -o Dir::Etc::PreferencesParts=/dev/null \
        -o Dir::State="$work/apt" -o Dir::State::status=/dev/null -o Dir::Cache="$work/apt" \
        -o Acquire::AllowInsecureRepositories=false -o APT::Get::AllowUnauthenticated=false "$@" \
        </dev/null 2>>"$log"
}

# The machine's own sources name the place that serves all suites.
debian_source() {
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
        'Label: Debian' 'Component: main' 2>>"$log" | awk '!/^cdrom:/ && !found++' || true
}

# unpack_minizip SOURCE SUITE: makes $work/unpacked from the suite's packages.
unpack_minizip() {
    local keys=/usr/share/keyrings/debian-archive-keyring.gpg library package packages
    rm -rf "$work/apt" "$work/unpacked" "$work/packages"
    mkdir -p "$work/apt/lists/partial" "$work/apt/archives/partial" "$work/packages" "$work/unpacked"
    echo "deb [signed-by=$keys target=Packages] $1 $2 main" >"$work/sources.list"
    private_apt apt-get update >>"$log" || return
    # The development package holds headers; it depends on the one with the library.
    packages=$(private_apt apt-cache depends --important "$minizip" |
        sed -n 's/^ *Depends: \(libminizip-ng.*\)/\1/p')
    # shellcheck disable=SC2086
    (cd "$work/packages" && private_apt apt-get download "$minizip" $packages) >>"$log" || return
    for package in "$work"/packages/*.deb; do
        dpkg-deb -x "$package" "$work/unpacked" >>"$log" 2>&1 || return
    done
    library=$(find "$work/unpacked" -name 'libminizip-ng.so.*' -type f | head -n 1)
    [[ -n $library ]] || return
    # A suite that has gone on to another C library is of no use here.
    ldd "$library" >"$work/needs" 2>&1 && ! grep 'not found' "$work/needs" >>"$log"
}

fetch_minizip() {
    local source suite
    source=$(debian_source)
    [[ -n $source ]] ||
        fail "$minizip: no package of this system, and apt's sources name no Debian to get a newer suite's from"
    for suite in forky sid; do
        if unpack_minizip "$source" "$suite"; then
            touch "$work/unpacked/complete"
            rm -rf "$minizip_folder"
            mv "$work/unpacked" "$minizip_folder"
            return
        fi
    done
    tail -n 20 "$log" >&2
    fail "$minizip: no package of this system, and a newer suite's could not be fetched or does not run here; the lines above tell why"
}

install() {
    echo "setup: installing $*"
    if ! apt install -y --no-install-recommends "$@"; then
        tail -n 20 "$log" >&2
        fail "apt-get could not install the packages; the lines above tell why"
    fi
}

# A source that does not answer may well be one that nothing is wanted from: installing decides.
[[ -z $can_install ]] || apt update || true
((${#missing[@]} == 0)) || install "${missing[@]}"
if [[ -n $needs_minizip ]]; then
    echo "setup: downloading the source of minizip-ng"
    if cmake -P cmake/Q7MinizipSource.cmake >>"$log" 2>&1; then
        echo "setup: done"
        exit 0
    fi
    echo "setup: the source of minizip-ng could not be downloaded, its package takes the place"
    if [[ -n $lacks_minizip && -n $can_install ]] && apt-cache show "$minizip" >>"$log" 2>&1; then
        minizip_missing+=("$minizip")
        lacks_minizip=
    fi
    if ((${#minizip_missing[@]} != 0)); then
        [[ -n $can_install ]] || fail "installing needs root or sudo; missing packages: ${minizip_missing[*]}"
        install "${minizip_missing[@]}"
    fi
    if [[ -n $lacks_minizip ]]; then
        echo "setup: unpacking $minizip of a newer suite into $minizip_folder"
        fetch_minizip
    fi
fi
echo "setup: done"
