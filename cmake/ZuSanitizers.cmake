# ZUKIT_SANITIZER=address builds with AddressSanitizer and UBSan; =thread with ThreadSanitizer.
if(ZUKIT_SANITIZER STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
elseif(ZUKIT_SANITIZER STREQUAL "thread")
  # g++ 12 warns that TSan does not model atomic_thread_fence, which Asio's fenced blocks use;
  # with warnings as errors that would stop the build, so that warning is turned off.
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -Wno-tsan)
  add_link_options(-fsanitize=thread)
elseif(NOT ZUKIT_SANITIZER STREQUAL "")
  message(FATAL_ERROR "ZUKIT_SANITIZER must be empty, 'address' or 'thread'")
endif()
