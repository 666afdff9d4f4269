# Toolchain for 32-bit ARM with hardware floating point, as controllers have it: Debian's cross compiler, libraries from
# the sysroot that scripts/armhf.sh unpacks, and qemu-arm for what is run during the build and by the tests.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

cmake_path(SET armhf_sysroot NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/armhf/sysroot)
if(NOT EXISTS ${armhf_sysroot}/.made-of)
    message(FATAL_ERROR "There is no ${armhf_sysroot} yet: run scripts/armhf.sh sysroot")
endif()
set(CMAKE_SYSROOT ${armhf_sysroot})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${armhf_sysroot})

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${armhf_sysroot})
set(ENV{PKG_CONFIG_LIBDIR} ${armhf_sysroot}/usr/lib/arm-linux-gnueabihf/pkgconfig:${armhf_sysroot}/usr/share/pkgconfig)
