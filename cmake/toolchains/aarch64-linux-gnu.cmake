# Shared part of the aarch64 Linux toolchain files: Debian's cross environment, the private
# sysroot that scripts/arm64-sysroot.sh fills with the arm64 builds of the test suite's
# packages, and qemu, through which CMake and CTest run what the build makes.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

# Debian's cross packages (libc6-dev-arm64-cross, libstdc++-12-dev-arm64-cross) live here.
set(LUT2D_AARCH64_TARGET_ROOT /usr/aarch64-linux-gnu)
if(NOT DEFINED LUT2D_AARCH64_SYSROOT)
  if(DEFINED ENV{LUT2D_AARCH64_SYSROOT})
    set(LUT2D_AARCH64_SYSROOT $ENV{LUT2D_AARCH64_SYSROOT})
  else()
    get_filename_component(LUT2D_AARCH64_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot-arm64
                           ABSOLUTE)
  endif()
endif()
set(LUT2D_AARCH64_SYSROOT ${LUT2D_AARCH64_SYSROOT} CACHE PATH
    "Folder holding the arm64 packages the build looks for (scripts/arm64-sysroot.sh)")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES LUT2D_AARCH64_SYSROOT)

set(CMAKE_FIND_ROOT_PATH ${LUT2D_AARCH64_TARGET_ROOT} ${LUT2D_AARCH64_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The emulator runs target programs with the cross packages' dynamic loader and libraries; the
# libraries found in the private sysroot reach them through the executables' build RPATH.
find_program(LUT2D_QEMU_AARCH64 NAMES qemu-aarch64-static qemu-aarch64)
if(LUT2D_QEMU_AARCH64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${LUT2D_QEMU_AARCH64} -L ${LUT2D_AARCH64_TARGET_ROOT})
endif()
