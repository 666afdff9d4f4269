#!/usr/bin/env bash
# Installs the packages of Debian 12 that building, the lab and the tests need. Does nothing, and needs neither root nor
# a network, when all of them are there.
#
#   scripts/dependencies.sh          to build, run and test
#   scripts/dependencies.sh check    and what the format and lint checks need
#   scripts/dependencies.sh fuzz     and what the fuzz targets need
#   scripts/dependencies.sh armhf    and what builds and runs programs for 32-bit ARM
#   scripts/dependencies.sh package  and what makes and checks packages
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config libssl-dev libjansson-dev libsqlite3-dev libcli11-dev nlohmann-json3-dev
    libgtest-dev libgmock-dev libvalijson-dev asciidoctor bubblewrap iproute2 openssl git ca-certificates)
case ${1:-} in
"") ;;
check) packages+=(clang-format clang-tidy shellcheck) ;;
fuzz) packages+=(clang libclang-rt-14-dev) ;;
bench) packages+=(libbenchmark-dev) ;;
armhf) packages+=(g++-arm-linux-gnueabihf qemu-user) ;;
package) packages+=(dpkg-dev lintian) ;;
*)
    echo "Usage: scripts/dependencies.sh [check|fuzz|bench|armhf|package]" >&2
    exit 2
    ;;
esac

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null || true)
    grep -qx installed <<<"$status" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || {
        echo "Missing packages: ${missing[*]}. Install them as root: apt-get install ${missing[*]}" >&2
        exit 1
    }
    as_root=(sudo)
fi

# What apt says is of interest only when it fails.
said=$(mktemp)
trap 'rm -f "$said"' EXIT
quietly() {
    "$@" >"$said" 2>&1 </dev/null || {
        cat "$said" >&2
        echo "Failed: $*" >&2
        exit 1
    }
}

echo "Installing with apt${as_root:+ (through sudo)}: ${missing[*]}"
if [ ${#as_root[@]} -gt 0 ]; then
    # Asks for the password here, where it can be seen; the commands below are quiet.
    sudo -v
fi
quietly "${as_root[@]}" apt-get update -q
quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}"
