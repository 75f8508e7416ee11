# The library's own language doesn't matter: what it needs of C++ is linked by name, so a project in C
# alone can use it.
include("${CMAKE_CURRENT_LIST_DIR}/marl-targets.cmake")
get_target_property(configurations marl::libmarl IMPORTED_CONFIGURATIONS)
foreach(configuration IN LISTS configurations)
  set_target_properties(marl::libmarl PROPERTIES
    IMPORTED_LINK_INTERFACE_LANGUAGES_${configuration} C)
endforeach()
unset(configurations)
