# Two interface targets that every target of the project links: how the code is compiled, and what
# the compiler is asked to object to.

option(VORN_WERROR "Treat warnings as errors" OFF)
option(BUILD_TESTING "Build the tests" ON)
include(CMakeDependentOption)
cmake_dependent_option(VORN_TESTS "Build the tests" ON BUILD_TESTING OFF)
option(VORN_LAB "Build vorn-lab, which needs libraries that the other programs do not" ON)
option(VORN_BENCH "Build the benchmarks" OFF)
option(VORN_FUZZ "Build the fuzz targets (clang only)" OFF)
option(VORN_TIDY "Run clang-tidy on every source" OFF)
set(VORN_SANITIZE "" CACHE STRING "Comma-separated sanitizers, as -fsanitize takes them")

add_library(vorn_settings INTERFACE)
target_compile_features(vorn_settings INTERFACE cxx_std_20)
target_include_directories(vorn_settings INTERFACE ${PROJECT_SOURCE_DIR}/src)
find_package(Threads REQUIRED)
target_link_libraries(vorn_settings INTERFACE Threads::Threads)

# Tests run for seconds and are compiled for minutes.
add_library(vorn_test_settings INTERFACE)
target_compile_options(vorn_test_settings INTERFACE -O0 -g1)

# What ships may run with more rights than its user has: no overrun goes unnoticed, no table of
# functions stays writable, and the program lies elsewhere at each start. Not beside sanitizers, which
# see more and are disturbed by it. Without optimisation there is nothing that _FORTIFY_SOURCE checks.
# Every library here becomes part of a program, and is compiled as a program is: so both can share a
# precompiled header.
add_compile_options(-fPIE)
add_link_options(-pie)
if(NOT VORN_SANITIZE)
  add_library(vorn_hardening INTERFACE)
  include(CheckCXXCompilerFlag)
  check_cxx_compiler_flag(-fcf-protection=full VORN_HAS_CF_PROTECTION)
  target_compile_options(vorn_hardening INTERFACE
    -fstack-protector-strong -fstack-clash-protection
    $<$<BOOL:${VORN_HAS_CF_PROTECTION}>:-fcf-protection=full>
    $<$<CONFIG:Release>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
  target_link_options(vorn_hardening INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
  target_link_libraries(vorn_settings INTERFACE vorn_hardening)
endif()

if(VORN_SANITIZE)
  target_compile_options(vorn_settings INTERFACE -fsanitize=${VORN_SANITIZE}
                         -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vorn_settings INTERFACE -fsanitize=${VORN_SANITIZE})
  # g++ 12 takes its own std::regex for uninitialised when it instruments it.
  target_compile_options(vorn_settings INTERFACE
                         $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
if(VORN_FUZZ)
  # The fuzz targets alone link libFuzzer's main; everything they reach is instrumented for it.
  target_compile_options(vorn_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()

add_library(vorn_warnings INTERFACE)
target_compile_options(vorn_warnings INTERFACE
  -Wall -Wextra -Wpedantic
  # Where sources are compiled as one, a parameter may have the name of another source's global.
  $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>
  -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-align
  -Wdouble-promotion -Wformat=2 -Wnon-virtual-dtor -Woverloaded-virtual -Wundef
  $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op -Wduplicated-cond -Wduplicated-branches -Wuseless-cast>
  $<$<CXX_COMPILER_ID:Clang>:-Wextra-semi>
  # g++ 12 takes "text" + std::string for a copy onto itself when it inlines it.
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
  $<$<BOOL:${VORN_WERROR}>:-Werror>)

if(VORN_TIDY)
  set(CMAKE_CXX_CLANG_TIDY clang-tidy --quiet)
endif()
