# Language, warnings and sanitizers: the same for every room.
set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

option(BRINDLE_WERROR "Treat warnings as errors" ON)
option(BRINDLE_TESTS "Build the tests" ON)
set(BRINDLE_SANITIZE "" CACHE STRING "Sanitizers, as the compiler names them: address,undefined or thread")

find_program(BRINDLE_CCACHE ccache)
if(BRINDLE_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${BRINDLE_CCACHE}")
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough)
if(BRINDLE_WERROR)
  add_compile_options(-Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # False alarms of GCC 12 inside its own std::string and std::variant.
  add_compile_options(-Wno-restrict -Wno-maybe-uninitialized)
endif()
if(BRINDLE_SANITIZE)
  add_compile_options(-fsanitize=${BRINDLE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${BRINDLE_SANITIZE})
endif()
