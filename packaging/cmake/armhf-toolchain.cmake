# Cross-building for 32-bit Arm with hardware floating point, as on the board.
#
# VTRDC_ARMHF_ROOT, a variable here or in the environment, names the folder with the board's
# libraries and headers, laid out like the board's root. scripts/build --armhf makes one from
# Debian's packages.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

set(VTRDC_ARMHF_ROOT "$ENV{VTRDC_ARMHF_ROOT}" CACHE PATH "Root folder of the board's libraries")
if(NOT IS_DIRECTORY "${VTRDC_ARMHF_ROOT}/usr")
  message(FATAL_ERROR "VTRDC_ARMHF_ROOT names no root folder: \"${VTRDC_ARMHF_ROOT}\"")
endif()
# CMake's trial builds read this file too, but only with these variables.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VTRDC_ARMHF_ROOT)
set(CMAKE_SYSROOT "${VTRDC_ARMHF_ROOT}")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
  "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
unset(ENV{PKG_CONFIG_PATH})

# Qt's code generators run on this machine.
set(QT_HOST_PATH /usr CACHE PATH "Qt of this machine")

# How to run tests on this machine. An explicit emulator needs no registration in the kernel, but
# GStreamer's scanner can't be started through it. The emulator redirects files into the board's
# root, but not for all system calls; therefore the plug-ins' folders are set.
find_program(VTRDC_QEMU_ARM qemu-arm-static)
if(VTRDC_QEMU_ARM)
  set(vtrdc_board_libraries "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf")
  set(CMAKE_CROSSCOMPILING_EMULATOR
    "${VTRDC_QEMU_ARM}" -L "${CMAKE_SYSROOT}"
    -E GST_REGISTRY_FORK=no
    -E "GST_PLUGIN_SYSTEM_PATH=${vtrdc_board_libraries}/gstreamer-1.0"
    -E "QT_PLUGIN_PATH=${vtrdc_board_libraries}/qt6/plugins"
    -E "QML2_IMPORT_PATH=${vtrdc_board_libraries}/qt6/qml")
endif()
