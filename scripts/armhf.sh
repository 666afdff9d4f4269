#!/usr/bin/env bash
# Builds the program and the tests for 32-bit ARM and runs them here under qemu-arm. The first time it installs the cross
# compiler and qemu-user, and unpacks Debian's armhf libraries into build/armhf/sysroot: the machine's own packages and
# their architectures are left alone. Works from any directory.
#
#   scripts/armhf.sh             all of the below
#   scripts/armhf.sh sysroot     the libraries for ARM alone
#   scripts/armhf.sh build       and the program and its tests in build/armhf
#   scripts/armhf.sh unit        and run the unit tests and the fuzz corpus, all of it ARM code
#   scripts/armhf.sh system      and the demo and the system tests: the program as ARM code, what surrounds it as it is here
#
# In the environment:
#   M2M_NATIVE=DIR       build folder whose lab and system tests surround the ARM program (default: build/dev, built if
#                        need be)
#   M2M_MIRROR=URL       where the armhf packages come from (default: http://deb.debian.org)
#   JOBS=N               compilers and tests at a time (default: 2)
set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
build=$project/build/armhf
sysroot=$build/sysroot
mirror=${M2M_MIRROR:-http://deb.debian.org}
jobs=${JOBS:-2}

# What is compiled against; apt finds what these need at run time.
packages=(libc6-dev libssl-dev libjansson-dev libsqlite3-dev libgtest-dev libgmock-dev libcli11-dev nlohmann-json3-dev
    libvalijson-dev libstdc++6)

# Runs apt-get as if on an ARM machine on which nothing is installed. Proxies and the like of this machine still count.
armhf_apt() {
    APT_CONFIG=$build/apt/apt.conf apt-get -q -o Dir::Etc::sourcelist="$build/apt/sources.list" "$@"
}

make_apt() {
    mkdir -p "$build"/apt/state/lists/partial "$build"/apt/cache/archives/partial "$build"/apt/none
    : >"$build/apt/status"
    cat >"$build/apt/apt.conf" <<END
APT::Architecture "armhf";
APT::Architectures { "armhf"; };
APT::Install-Recommends "false";
APT::Sandbox::User "";
Acquire::Languages "none";
Dir::State "$build/apt/state";
Dir::State::status "$build/apt/status";
Dir::Cache "$build/apt/cache";
Dir::Etc::sourceparts "$build/apt/none";
Dir::Etc::preferences "$build/apt/none/preferences";
Dir::Etc::preferencesparts "$build/apt/none";
END
    # Without the security suite: nothing of these packages leaves this folder, and one mirror less can be out of step.
    local signed="[signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]"
    cat >"$build/apt/sources.list" <<END
deb $signed $mirror/debian bookworm main
deb $signed $mirror/debian bookworm-updates main
END
}

# Runs a command whose words matter only when it fails.
quietly() {
    "$@" >"$build/apt/said" 2>&1 </dev/null || {
        cat "$build/apt/said" >&2
        echo "Failed: $*" >&2
        exit 1
    }
}

make_sysroot() {
    local wanted="${packages[*]} from $mirror"
    [ "$(cat "$sysroot/.made-of" 2>/dev/null)" != "$wanted" ] || return 0
    echo "Unpacking Debian's armhf libraries into $sysroot"
    make_apt
    quietly armhf_apt update
    rm -f "$build"/apt/cache/archives/*.deb
    quietly armhf_apt install -y --download-only "${packages[@]}"

    rm -rf "$sysroot" "$build/packages"
    mkdir -p "$sysroot" "$build/packages"
    local package parts link target
    for package in "$build"/apt/cache/archives/*.deb; do
        dpkg-deb -x "$package" "$sysroot"
        # Libraries stay apart as well, with what they say of themselves: packaging reads it, see scripts/package.sh.
        parts=$(dpkg-deb --ctrl-tarfile "$package" | tar -t)
        case $parts in *shlibs* | *symbols*) dpkg-deb -R "$package" "$build/packages/$(dpkg-deb -f "$package" Package)" ;; esac
    done
    # Links that start at the root would lead to this machine's files.
    while IFS= read -r -d '' link; do
        target=$(readlink "$link")
        ln -sfn "$(realpath -m --relative-to="$(dirname "$link")" "$sysroot$target")" "$link"
    done < <(find "$sysroot" -type l -lname '/*' -print0)
    echo "$wanted" >"$sysroot/.made-of"
}
build_all() {
    cmake --preset armhf
    cmake --build "$build" -j "$jobs"
}

# A build folder for lab/sandbox: the lab as it is here, and the program for ARM behind its interpreter.
make_world() {
    native=${M2M_NATIVE:-}
    if [ -z "$native" ]; then
        native=$project/build/dev
        "$project/scripts/build.sh" dev
    fi
    rm -rf "$build/world"
    mkdir -p "$build/world/src"
    cp -r "$native/bin" "$build/world/bin"
    cat >"$build/world/src/m2mclientmanager" <<END
#!/bin/sh
exec qemu-arm -L $sysroot $build/src/m2mclientmanager "\$@"
END
    chmod +x "$build/world/src/m2mclientmanager"
}

in_world() {
    "$project/lab/sandbox" --build "$build/world" "$@"
}

# Programs that need nothing around them run as they are, the others in the world.
run_unit() {
    ctest --test-dir "$build/tests/unit" --output-on-failure --no-tests=error -j "$jobs" -E '^record_tests'
    # The emulator knows nothing of multicast options, and delivers nothing but signals once they come in a storm.
    local left_out=Network.SearchesComeBackOnlyWhenLooped:SystemLog.SurvivesAStormOfSignalsWhoseHandlerLogs
    echo "Left out under qemu-arm: $left_out"
    in_world timeout 300 qemu-arm -L "$sysroot" "$build/tests/unit/record_tests" \
        --gtest_filter="-$left_out"
    local corpus target
    for corpus in "$project"/fuzz/corpus/*/; do
        target=$(basename "$corpus")
        echo "fuzz corpus: $target"
        if [ "$target" = session ]; then
            in_world qemu-arm -L "$sysroot" "$build/fuzz/fuzz_$target" "$corpus"
        else
            qemu-arm -L "$sysroot" "$build/fuzz/fuzz_$target" "$corpus"
        fi
    done
}

run_system() {
    in_world "$project/lab/demo.sh"
    # Its limit of descriptors would meet the emulator itself.
    local left_out=StartUp.SaysMinusOneWhenThereIsNoSocketForTheCore
    echo "Left out under qemu-arm: $left_out"
    in_world timeout 900 "$native/tests/system/system_tests" --gtest_filter="-$left_out"
}

step=${1:-all}
case $step in
sysroot | build | unit | system | all) ;;
*)
    echo "Usage: scripts/armhf.sh [sysroot|build|unit|system]" >&2
    exit 2
    ;;
esac
"$project/scripts/dependencies.sh"
"$project/scripts/dependencies.sh" armhf
cd "$project"
make_sysroot
[ "$step" != sysroot ] || exit 0
build_all
[ "$step" != build ] || exit 0
make_world
[ "$step" = system ] || run_unit
[ "$step" = unit ] || run_system
