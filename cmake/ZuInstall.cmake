# What `cmake --install` puts under the prefix: libzukit.so with its version links, the public
# headers (those zukit/ZuKit.h includes) under include/zukit/, a CMake package (find_package(ZuKit)
# gives ZuKit::zukit) and zukit.pc for pkg-config. Both describe the prefix relative to their
# own place, so an installed tree can be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZUKIT_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZuKit)

install(TARGETS zukit EXPORT ZuKitTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# The umbrella header names the public headers; a change to it reconfigures.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/zukit/ZuKit.h)
file(STRINGS ${PROJECT_SOURCE_DIR}/zukit/ZuKit.h ZUKIT_UMBRELLA_INCLUDES
     REGEX "^#include \"zukit/[^\"]+\"")
install(FILES ${PROJECT_SOURCE_DIR}/zukit/ZuKit.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zukit)
foreach(include IN LISTS ZUKIT_UMBRELLA_INCLUDES)
  string(REGEX REPLACE "^#include \"(zukit/[^\"]+)\".*" "\\1" header "${include}")
  get_filename_component(header_dir ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${header_dir})
endforeach()

install(EXPORT ZuKitTargets NAMESPACE ZuKit:: DESTINATION ${ZUKIT_PACKAGE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ZuKitConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/ZuKitConfig.cmake INSTALL_DESTINATION ${ZUKIT_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ZuKitConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZuKitConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/ZuKitConfigVersion.cmake
        DESTINATION ${ZUKIT_PACKAGE_DIR})

# libcurl, ICU, libplist, cairo, Pango, libmnl and libsystemd are libzukit.so's own: a host needs
# none of their headers.
file(RELATIVE_PATH ZUKIT_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" ZUKIT_PC_TO_PREFIX "${ZUKIT_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/zukit.pc.in ${CMAKE_CURRENT_BINARY_DIR}/zukit.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zukit.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
