# Fuzz targets: every tests/fuzz/NAME_fuzz.cpp says what one parser must hold (tests/fuzz/target.h), and keeps inputs in
# tests/fuzz/corpus/NAME.
#
# With BRINDLE_FUZZ each becomes the fuzzer fuzz_NAME, for ./dev fuzz. In a build with tests each becomes replay_NAME,
# which feeds it the kept inputs: the test fuzz_corpus.NAME. Not with the thread sanitizer, as parsers run no threads.
if(BRINDLE_FUZZ)
  add_custom_target(fuzz)
elseif(BRINDLE_TESTS AND NOT BRINDLE_SANITIZE STREQUAL "thread")
  add_library(brindle_fuzz_replay OBJECT "${PROJECT_SOURCE_DIR}/tests/fuzz/replay.cpp")
else()
  return()
endif()

file(GLOB fuzz_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/fuzz/*_fuzz.cpp")
foreach(source IN LISTS fuzz_sources)
  get_filename_component(name "${source}" NAME_WE)
  string(REGEX REPLACE "_fuzz$" "" name "${name}")
  if(BRINDLE_FUZZ)
    add_executable(fuzz_${name} "${source}")
    target_link_libraries(fuzz_${name} PRIVATE brindle_modules)
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    add_dependencies(fuzz fuzz_${name})
  else()
    add_executable(replay_${name} "${source}")
    target_link_libraries(replay_${name} PRIVATE brindle_modules brindle_fuzz_replay)
    add_dependencies(tests replay_${name})
    add_test(NAME fuzz_corpus.${name} COMMAND replay_${name} "${PROJECT_SOURCE_DIR}/tests/fuzz/corpus/${name}")
    set_tests_properties(fuzz_corpus.${name} PROPERTIES TIMEOUT 300)
  endif()
endforeach()
