# Most of the compile time of a small source is the standard library's headers. They are compiled
# once for the shipped sources and, with GoogleTest, once for the tests.
#
# A precompiled header hides a forgotten #include, so the builds that clang-tidy and the header
# check read go without. So do builds through a compiler cache, which is the quicker of the two.

set(precompile ON)
if(CMAKE_CXX_COMPILER_LAUNCHER OR VORN_TIDY)
  set(precompile OFF)
endif()
option(VORN_PRECOMPILE "Precompile the standard library's headers" ${precompile})
unset(precompile)

set(VORN_PRECOMPILED_HEADERS
  <algorithm> <array> <chrono> <cmath> <fstream> <functional> <iostream> <map>
  <memory> <mutex> <optional> <sstream> <string> <thread> <vector>)

# vorn_targets_below(result folder): the targets of a folder and of those below it.
function(vorn_targets_below result folder)
  get_property(found DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(below IN LISTS folders)
    vorn_targets_below(more ${below})
    list(APPEND found ${more})
  endforeach()
  set(${result} ${found} PARENT_SCOPE)
endfunction()

# vorn_precompile(): to be called when every target is there. A target with options of its own
# cannot share a precompiled header and is left alone.
function(vorn_precompile)
  if(NOT VORN_PRECOMPILE)
    return()
  endif()
  target_precompile_headers(vorn_core PRIVATE ${VORN_PRECOMPILED_HEADERS})
  if(VORN_TESTS)
    target_precompile_headers(vorn_fake_machine PRIVATE <gtest/gtest.h> <gmock/gmock.h>
                              <filesystem> <regex> ${VORN_PRECOMPILED_HEADERS})
  endif()
  get_target_property(shared_options vorn_core COMPILE_OPTIONS)
  vorn_targets_below(targets ${PROJECT_SOURCE_DIR})
  list(REMOVE_ITEM targets vorn_core vorn_fake_machine)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    if(NOT type MATCHES "EXECUTABLE|STATIC_LIBRARY")
      continue()
    endif()
    get_target_property(options ${target} COMPILE_OPTIONS)
    get_target_property(libraries ${target} LINK_LIBRARIES)
    if(NOT options STREQUAL shared_options)
      continue()
    elseif("vorn_test_settings" IN_LIST libraries)
      set_target_properties(${target} PROPERTIES PRECOMPILE_HEADERS_REUSE_FROM vorn_fake_machine)
    else()
      set_target_properties(${target} PROPERTIES PRECOMPILE_HEADERS_REUSE_FROM vorn_core)
    endif()
  endforeach()
endfunction()
