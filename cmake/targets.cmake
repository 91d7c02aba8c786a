# How a folder of src/ adds itself to the build: its sources go into the one library that every
# program and test links, its tests into a test program of its own.

# Where each test program writes what became of its tests, for `./check` to count.
set(VORN_TEST_RESULTS ${PROJECT_BINARY_DIR}/results)

# vorn_sources(header-or-source ...): adds this folder's files to vorn_core.
function(vorn_sources)
  vorn_sources_of(vorn_core ${ARGN})
endfunction()

# vorn_sources_of(library header-or-source ...): adds this folder's files to the library. A header
# without a source of its name is compiled by itself once, so that each is self-contained: a source
# includes its own header first.
function(vorn_sources_of library)
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE files)
  set(alone ${files})
  list(FILTER alone INCLUDE REGEX "\\.h$")
  foreach(header IN LISTS alone)
    string(REGEX REPLACE "\\.h$" ".cpp" source ${header})
    if(source IN_LIST files)
      list(REMOVE_ITEM alone ${header})
    endif()
  endforeach()
  list(REMOVE_ITEM files ${alone})
  target_sources(${library} PRIVATE ${files}
                 PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/src FILES ${alone})
endfunction()

# vorn_unit_test(name source ... [LIBRARIES target ...]): a test program linked with vorn_core and
# the tests' own host and empty machine (or, if LIBRARIES are given, with those instead).
function(vorn_unit_test name)
  if(NOT VORN_TESTS)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 test "" "" "LIBRARIES")
  if(NOT test_LIBRARIES)
    set(test_LIBRARIES vorn_fake_machine)
  endif()
  add_executable(${name} ${test_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE vorn_core ${test_LIBRARIES} vorn_settings
                        vorn_test_settings vorn_warnings GTest::gmock_main)
  # One process for all of them: starting a program takes longer than most of its tests.
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1
                                --gtest_output=xml:${VORN_TEST_RESULTS}/${name}.xml)
  set_tests_properties(${name} PROPERTIES LABELS unit TIMEOUT 600)
endfunction()

# vorn_process_test(name label [ONE_PROCESSOR pattern ...] [WAITING pattern ...]): each test of a
# program of tests that start programs, as a test of its own. They load every processor, so each runs
# alone, but for those of the suites that the patterns name: tests that load one processor, and tests
# that wait most of their time. `ctest -j` is told twice the number of processors
# (scripts/stages.sh): a test that loads one takes two of these places, and one that waits takes one.
function(vorn_process_test name label)
  cmake_parse_arguments(PARSE_ARGV 2 test "" "" "ONE_PROCESSOR;WAITING")
  set(discovery DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES XML_OUTPUT_DIR ${VORN_TEST_RESULTS})
  set(properties LABELS ${label} TIMEOUT 600)
  list(JOIN test_ONE_PROCESSOR ":" one)
  list(JOIN test_WAITING ":" waiting)
  if(one)
    gtest_discover_tests(${name} ${discovery} TEST_FILTER ${one} TEST_LIST ${name}_one
                         PROPERTIES ${properties} PROCESSORS 2 ENVIRONMENT VORN_TEST_LOADS=one)
  endif()
  if(waiting)
    gtest_discover_tests(${name} ${discovery} TEST_FILTER ${waiting} TEST_LIST ${name}_waiting
                         PROPERTIES ${properties} PROCESSORS 1 ENVIRONMENT VORN_TEST_LOADS=one)
  endif()
  gtest_discover_tests(${name} ${discovery} TEST_FILTER -${one}:${waiting} TEST_LIST ${name}_all
                       PROPERTIES ${properties} RUN_SERIAL TRUE)
endfunction()
