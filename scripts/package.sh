#!/usr/bin/env bash
# Makes a Debian package of the program as built for release and has lintian judge it. Works from any directory.
#
#   scripts/package.sh [amd64|armhf]    the package is in build/package; default: this machine's architecture
#
# armhf needs the libraries that scripts/armhf.sh unpacks; they are fetched when they are missing.
set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
here=$(dpkg --print-architecture)
architecture=${1:-$here}
case $architecture in
"$here" | armhf) ;;
*)
    echo "Usage: scripts/package.sh [$here|armhf]" >&2
    exit 2
    ;;
esac

"$project/scripts/dependencies.sh"
"$project/scripts/dependencies.sh" package
cd "$project"
build=build/package-$architecture
options=()
if [ "$architecture" != "$here" ]; then
    scripts/armhf.sh sysroot
    options=(--toolchain "$project/cmake/armhf.cmake")
    # dpkg-shlibdeps reads libraries with the objdump of this architecture.
    export DEB_HOST_ARCH=$architecture
fi
cmake --preset release -B "$build" -DM2M_MAN=ON "${options[@]}"
cmake --build "$build" -j "${JOBS:-2}"

rm -f build/package/*_"$architecture".deb
mkdir -p build/package
# The times of the files are that of the change log, so that a package can be made again byte by byte.
written=$(sed -n 's/^ -- .*>  //p' cmake/package/changelog | head -n 1)
SOURCE_DATE_EPOCH=$(date -d "$written" +%s) \
    cpack --config "$build/CPackConfig.cmake" -B "$PWD/build/package"
rm -rf build/package/_CPack_Packages

package=$(echo "$PWD"/build/package/*_"$architecture".deb)
dpkg-deb --info "$package"
# cpack goes on when a library's package is not found; the program does not.
depends=$(dpkg-deb -f "$package" Depends)
for library in libc6 libjansson4 libssl3; do
    case ", $depends" in
    *", $library"*) ;;
    *)
        echo "The package does not depend on $library: $depends" >&2
        exit 1
        ;;
    esac
done
lintian --fail-on error --display-info "$package"
echo "Made: $package"
