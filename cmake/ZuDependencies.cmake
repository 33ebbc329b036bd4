# Debian packages installed by scripts/bootstrap.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(CURL REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(nlohmann_json 3 REQUIRED)
pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
# Drawing views to PNG and SVG, and their text.
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo cairo-png cairo-svg)
pkg_check_modules(PANGOCAIRO REQUIRED IMPORTED_TARGET pangocairo)
# Kernel routes and links over netlink (reachability); the modem manager over D-Bus (telephony).
pkg_check_modules(MNL REQUIRED IMPORTED_TARGET libmnl)
pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
# The system font's first family, which draws Chinese; without it text falls back to other fonts
# and the snapshot tests' reference pictures no longer match.
find_file(ZUKIT_CJK_FONT wqy-microhei.ttc PATHS /usr/share/fonts/truetype/wqy NO_DEFAULT_PATH)
if(NOT ZUKIT_CJK_FONT)
  message(WARNING "fonts-wqy-microhei is missing (scripts/bootstrap installs it): Chinese text "
                  "will draw in a fallback font and the snapshot tests will fail")
endif()

find_path(ASIO_INCLUDE_DIR asio.hpp REQUIRED)
add_library(zukit_asio INTERFACE)
target_include_directories(zukit_asio SYSTEM INTERFACE ${ASIO_INCLUDE_DIR})
# ASIO_DISABLE_VISIBILITY: Asio would otherwise mark its own classes for export, and libzukit.so
# would export the Asio internals it instantiates.
target_compile_definitions(zukit_asio INTERFACE
  ASIO_STANDALONE ASIO_NO_DEPRECATED ASIO_DISABLE_VISIBILITY)

if(ZUKIT_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(ZUKIT_BUILD_BENCH)
  find_package(benchmark REQUIRED)
  find_package(spdlog REQUIRED)
endif()
