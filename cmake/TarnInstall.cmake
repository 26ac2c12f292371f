# What `cmake --install` puts under the prefix:
#   bin/                      tarn-host, avctl, tarn-cec-sim
#   lib/                      the platform libraries (libtarn_base.so.0.1.0, its SONAME link
#                             libtarn_base.so.0 and the link-time name libtarn_base.so, ...)
#                             and the plugin, libtarn_av_plugin.so
#   lib/cmake/TarnPlatform/   the CMake package: find_package(TarnPlatform) gives the
#                             Tarn::* targets and tarn_add_component()
#   lib/pkgconfig/            tarn-platform.pc, the same libraries for pkg-config
#   lib/systemd/user/         tarn-host.service, a systemd user unit
#   include/tarn/             the platform's headers (below), the runtime's component headers
#                             (runtime/, from runtime/CMakeLists.txt) and the device plugin
#                             manager interface (plugin/device/, from plugin/CMakeLists.txt)
#   share/tarn/component/     the runtime sources every component compiles into itself
#                             (runtime/CMakeLists.txt) and the linker script component.map
#   share/tarn/device_plugin/ the device plugin manager interface's source, which every
#                             device plugin compiles into itself (plugin/CMakeLists.txt)
#   share/tarn/examples/      config.xml, tarn-host's default configuration, commented
#   share/man/man1/           tarn-host.1, avctl.1, tarn-cec-sim.1 (when help2man is there)
#   share/bash-completion/completions/avctl
# Programs and libraries find the project's libraries through their RUNPATH, $ORIGIN and
# $ORIGIN/../lib, wherever the tree is put. The tools' files are installed by
# packaging/CMakeLists.txt, which also makes the Debian package (cpack -G DEB).
include(CMakePackageConfigHelpers)

set(TARN_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/TarnPlatform)

# The receiver simulator and the tests' helpers are not installed.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarn
        FILES_MATCHING PATTERN "*.h"
        PATTERN "test" EXCLUDE
        PATTERN "simulator" EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/component.map
        DESTINATION ${CMAKE_INSTALL_DATADIR}/tarn/component)

install(TARGETS tarn_device EXPORT TarnPlatformTargets)
# The plugin is a loadable module: the runtime opens it by path (dlopen) and nothing links
# against it, so its file name and SONAME stay libtarn_av_plugin.so, unversioned.
# Configurations and tarn-host's default lookup name that file; its interface is the one
# entry, GetComponent, not a library ABI.
install(TARGETS tarn_av_plugin LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

install(EXPORT TarnPlatformTargets NAMESPACE Tarn:: DESTINATION ${TARN_PACKAGE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TarnPlatformConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TarnPlatformConfig.cmake
  INSTALL_DESTINATION ${TARN_PACKAGE_DIR}
  PATH_VARS CMAKE_INSTALL_DATADIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TarnPlatformConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
          ${PROJECT_BINARY_DIR}/TarnPlatformConfig.cmake
          ${PROJECT_BINARY_DIR}/TarnPlatformConfigVersion.cmake
        DESTINATION ${TARN_PACKAGE_DIR})

# pkg-config finds the tree relative to the .pc file, so the installed tree can move.
file(RELATIVE_PATH TARN_PC_PREFIX_FROM_PCFILEDIR
     /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" TARN_PC_PREFIX_FROM_PCFILEDIR "${TARN_PC_PREFIX_FROM_PCFILEDIR}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/tarn-platform.pc.in
  ${PROJECT_BINARY_DIR}/tarn-platform.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tarn-platform.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
