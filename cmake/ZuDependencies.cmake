# Debian packages installed by scripts/bootstrap.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(CURL REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(nlohmann_json 3 REQUIRED)
pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)

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
