# Cross build for the device: ARMv7-A, hard-float ABI, Linux, with Debian's cross compiler
# (g++-arm-linux-gnueabihf). Programs built here run on this machine under qemu-arm.
#
# Where the target's files live:
#   /usr/arm-linux-gnueabihf        the cross toolchain's own C and C++ runtime (libc, libstdc++,
#                                   libgcc_s and the dynamic loader), shipped with the compiler;
#   /usr/lib/arm-linux-gnueabihf    every other target library, from Debian's armhf packages
#                                   installed through multiarch (dpkg --add-architecture armhf);
#   /usr/include, /usr/share/cmake  headers and CMake packages that are the same for every
#                                   architecture (tinyxml2.h, header-only libraries).

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(TARN_TARGET_TRIPLE arm-linux-gnueabihf)
set(TARN_TARGET_SYSROOT /usr/${TARN_TARGET_TRIPLE})

set(CMAKE_C_COMPILER ${TARN_TARGET_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${TARN_TARGET_TRIPLE}-g++)

# The device's processor is a Cortex-A7: ARMv7-A with VFPv4 and NEON, code in Thumb-2.
# Nothing newer than ARMv7 may appear in the output.
set(TARN_TARGET_FLAGS "-march=armv7-a -mtune=cortex-a7 -mfpu=neon-vfpv4 -mfloat-abi=hard -mthumb")
# -Wno-psabi: GCC notes wherever a parameter is passed as GCC 7.1 changed it for ARM; the
# whole system is built with one compiler, so there is no older code to mismatch.
string(APPEND TARN_TARGET_FLAGS " -Wno-psabi")
set(CMAKE_C_FLAGS_INIT "${TARN_TARGET_FLAGS}")
set(CMAKE_CXX_FLAGS_INIT "${TARN_TARGET_FLAGS}")

# find_package and find_library look in the multiarch directories of the target
# (lib/arm-linux-gnueabihf, lib/arm-linux-gnueabihf/cmake) and never in the host's
# (lib/x86_64-linux-gnu). The toolchain's directory is searched first, then the
# machine's own tree for multiarch libraries and architecture-independent packages.
set(CMAKE_LIBRARY_ARCHITECTURE ${TARN_TARGET_TRIPLE})
set(CMAKE_FIND_ROOT_PATH ${TARN_TARGET_SYSROOT} /)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Target programs (tests, and whatever they start) run under user-mode QEMU, called by
# name rather than through binfmt_misc, which a CI machine may not have.
#   -cpu cortex-a7  the device's processor: an ARMv8-only instruction stops the program
#                   with SIGILL, as it would on the device.
#   -L <sysroot>    the guest's /lib/ld-linux-armhf.so.3 is the toolchain's loader; qemu
#                   looks up every absolute path under the sysroot first and falls back
#                   to the machine's own path when it is not there.
#   -E LD_LIBRARY_PATH=...  (set for the guest only, not for qemu itself) makes that loader
#                   take libc and libstdc++ from the toolchain, the build it belongs to and
#                   the one the programs were linked against. Without it the loader's own
#                   first choice, /lib/arm-linux-gnueabihf, finds the multiarch libc6:armhf,
#                   a different Debian build of glibc that need not match the toolchain's
#                   loader. The second directory holds the multiarch libraries (tinyxml2).
#   The project's own shared libraries are found through the build tree's rpath.
find_program(TARN_QEMU_ARM qemu-arm)
if(NOT TARN_QEMU_ARM)
  set(TARN_QEMU_ARM qemu-arm)
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR
    ${TARN_QEMU_ARM} -cpu cortex-a7 -L ${TARN_TARGET_SYSROOT}
    -E LD_LIBRARY_PATH=${TARN_TARGET_SYSROOT}/lib:/usr/lib/${TARN_TARGET_TRIPLE})
