# Two precompiled headers, one for all rooms and one for all tests: half of a build's time is else spent on reading the
# same headers again. Every file still includes what it uses: the presets "check" and "fuzz" do without.
# Not on a Mac, where the Objective-C++ of platform/ would need a third.
if(APPLE)
  set(BRINDLE_PRECOMPILED_DEFAULT OFF)
else()
  set(BRINDLE_PRECOMPILED_DEFAULT ON)
endif()
option(BRINDLE_PRECOMPILED "Read the common headers once" ${BRINDLE_PRECOMPILED_DEFAULT})

# brindle_precompile(TARGET HEADER...): a target that others take their precompiled header from.
function(brindle_precompile target)
  if(BRINDLE_PRECOMPILED)
    target_precompile_headers(${target} PRIVATE ${ARGN})
    # Without it ccache does not trust what a precompiled header holds, and compiles again each time.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      target_compile_options(${target} PRIVATE -fpch-preprocess)
    endif()
  endif()
endfunction()

# brindle_reuse(TARGET FROM): takes the precompiled header of FROM.
function(brindle_reuse target from)
  if(BRINDLE_PRECOMPILED)
    target_precompile_headers(${target} REUSE_FROM ${from})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      target_compile_options(${target} PRIVATE -fpch-preprocess)
    endif()
  endif()
endfunction()

set(BRINDLE_COMMON_HEADERS
  <algorithm> <array> <atomic> <cerrno> <charconv> <chrono> <cstdint> <cstdlib> <deque> <expected> <functional> <map>
  <memory> <mutex> <optional> <set> <span> <string> <string_view> <thread> <tuple> <utility> <variant> <vector>
  <fmt/format.h> <nlohmann/json.hpp>)
