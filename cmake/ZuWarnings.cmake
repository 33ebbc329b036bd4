# Warnings are errors for every target that ZuKit builds.
add_library(zukit_warnings INTERFACE)
target_compile_options(zukit_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual
  -Wnull-dereference -Wformat=2 -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # Lock annotations (zu::Mutex, ZU_GUARDED_BY) are checked by clang's analysis.
  target_compile_options(zukit_warnings INTERFACE -Wthread-safety)
endif()
