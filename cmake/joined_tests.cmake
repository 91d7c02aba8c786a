# A test's source is small, and what it includes is not: several are compiled as one. Shipped sources
# are not, since some tests link parts of a library without the others, and put their own in place.
#
# So the anonymous namespaces of these sources are one, and a name that two of them define does not
# compile. The preset tsan compiles each source by itself.
option(VORN_JOIN_TESTS "Compile several sources of a test program at once" OFF)

# vorn_join_tests(): to be called when every target is there.
function(vorn_join_tests)
  if(NOT VORN_JOIN_TESTS)
    return()
  endif()
  vorn_targets_below(targets ${PROJECT_SOURCE_DIR})
  foreach(target IN LISTS targets)
    get_target_property(libraries ${target} LINK_LIBRARIES)
    if("vorn_test_settings" IN_LIST libraries)
      set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 16)
    endif()
  endforeach()
endfunction()
