# Warnings are errors for every target that ZuKit builds.
add_library(zukit_warnings INTERFACE)
target_compile_options(zukit_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual
  -Wformat=2 -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 reports false -Wrestrict overlaps inside std::string concatenation at -O2 and above
  # (GCC bug 105329); the warning stays on for every other compiler.
  target_compile_options(zukit_warnings INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # Lock annotations (zu::Mutex, ZU_GUARDED_BY) are checked by clang's analysis.
  target_compile_options(zukit_warnings INTERFACE -Wthread-safety)
endif()
