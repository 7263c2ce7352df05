# mcstat: prints the shared status segment. Headers are looked for where the node looks for them.

find_path(MC_JSON_INCLUDE_DIR nlohmann/json.hpp ${mc_tools_where} REQUIRED)
mark_as_advanced(MC_JSON_INCLUDE_DIR)

add_executable(mcstat
  mcstat.cpp
  mcstat_fields.cpp
  mcstat_ipc.cpp
  mcstat_report.cpp
  "${PROJECT_SOURCE_DIR}/node/table.cpp")
target_compile_features(mcstat PRIVATE cxx_std_20)
target_include_directories(mcstat PRIVATE "${PROJECT_SOURCE_DIR}")
target_include_directories(mcstat SYSTEM PRIVATE "${MC_CLI11_INCLUDE_DIR}" "${MC_JSON_INCLUDE_DIR}")

if(MC_BUILD_TESTS)
  # With an emulator, the test runs the programs in it.
  add_test(NAME mcstat_run_test
           COMMAND "${PROJECT_SOURCE_DIR}/tests/mcstat_run_test.sh"
                   ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:mcstat> $<TARGET_FILE:mc_node>)
  set_tests_properties(mcstat_run_test PROPERTIES TIMEOUT 300 RESOURCE_LOCK system_v_ipc)
endif()
