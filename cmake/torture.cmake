# Cleanups that are killed and disturbed: tools/torture.py and tools/faults.py drive cleanup_driver; short runs of both
# are tests. Not with the thread sanitizer, which slows the driver down and finds the same in the session's own tests.
if(NOT BRINDLE_TESTS OR BRINDLE_SANITIZE STREQUAL "thread")
  return()
endif()

find_package(Python3 COMPONENTS Interpreter)
add_executable(cleanup_driver "${PROJECT_SOURCE_DIR}/tests/torture/cleanup_driver.cpp")
target_link_libraries(cleanup_driver PRIVATE brindle_session)
add_dependencies(tests cleanup_driver)
if(Python3_FOUND)
  add_test(NAME torture.kills
    COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tools/torture.py" $<TARGET_FILE:cleanup_driver> 40)
  add_test(NAME torture.faults
    COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tools/faults.py" $<TARGET_FILE:cleanup_driver> --sample 60)
  set_tests_properties(torture.kills torture.faults PROPERTIES TIMEOUT 300)
  set_tests_properties(torture.faults PROPERTIES SKIP_RETURN_CODE 77)
endif()
