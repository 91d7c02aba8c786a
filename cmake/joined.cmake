# A source is small, and what it includes is not: several are compiled as one. Not those of
# vorn_core: some tests link parts of it without the others, and put their own in place.
#
# So the anonymous namespaces of these sources are one, and a name that two of them define does not
# compile. The preset clang compiles each source by itself, and so does clang-tidy.
option(VORN_JOIN "Compile several sources of a library or test program at once" OFF)

# vorn_join(): to be called when every target is there.
function(vorn_join)
  if(NOT VORN_JOIN)
    return()
  endif()
  vorn_targets_below(targets ${PROJECT_SOURCE_DIR})
  list(REMOVE_ITEM targets vorn_core)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    get_target_property(libraries ${target} LINK_LIBRARIES)
    if(type STREQUAL "STATIC_LIBRARY" OR "vorn_test_settings" IN_LIST libraries)
      set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 16)
    endif()
  endforeach()
endfunction()
