# Cross build for 32-bit ARM with hard float (Debian armhf). The target's
# headers, libraries and CMake packages come from a sysroot; compilers and
# build tools come from the host. Programs the build or the tests run go
# through qemu-user.
#
#   cmake -DCMAKE_TOOLCHAIN_FILE=cmake/armhf-toolchain.cmake \
#         -DHARNWICK_ARMHF_SYSROOT=/path/to/sysroot ...
#
# scripts/cross-armhf makes the sysroot and passes it in.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
# The architecture the Debian package is built for.
set(HARNWICK_DEBIAN_ARCHITECTURE armhf)

# try_compile() projects read this file again without the cache: hand the
# sysroot over to them.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES HARNWICK_ARMHF_SYSROOT)
if(NOT HARNWICK_ARMHF_SYSROOT AND DEFINED ENV{HARNWICK_ARMHF_SYSROOT})
    set(HARNWICK_ARMHF_SYSROOT "$ENV{HARNWICK_ARMHF_SYSROOT}")
endif()
if(NOT HARNWICK_ARMHF_SYSROOT OR NOT IS_DIRECTORY "${HARNWICK_ARMHF_SYSROOT}/usr/include")
    message(FATAL_ERROR "HARNWICK_ARMHF_SYSROOT must name an armhf sysroot "
                        "(got '${HARNWICK_ARMHF_SYSROOT}'); scripts/cross-armhf makes one")
endif()

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_SYSROOT "${HARNWICK_ARMHF_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH "${HARNWICK_ARMHF_SYSROOT}")

# Programs from the host; libraries, headers and packages from the sysroot.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Everything is built with the same compiler, so its notes about an ABI change
# of old GCC releases only add noise.
string(APPEND CMAKE_CXX_FLAGS_INIT " -Wno-psabi")

# The libraries the sysroot's Qt libraries need in turn live in the multiarch
# folders; the linker has to find them there to resolve symbols.
foreach(dir lib/arm-linux-gnueabihf usr/lib/arm-linux-gnueabihf)
    string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,-rpath-link,${HARNWICK_ARMHF_SYSROOT}/${dir}")
    string(APPEND CMAKE_SHARED_LINKER_FLAGS_INIT " -Wl,-rpath-link,${HARNWICK_ARMHF_SYSROOT}/${dir}")
endforeach()

set(ENV{PKG_CONFIG_SYSROOT_DIR} "${HARNWICK_ARMHF_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${HARNWICK_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${HARNWICK_ARMHF_SYSROOT}/usr/share/pkgconfig")

# Build steps and tests that run the project's own programs use this.
find_program(HARNWICK_QEMU_ARM qemu-arm-static)
if(NOT HARNWICK_QEMU_ARM)
    message(FATAL_ERROR "qemu-arm-static is needed to run armhf programs (Debian: qemu-user-static)")
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR "${HARNWICK_QEMU_ARM};-L;${HARNWICK_ARMHF_SYSROOT}")
