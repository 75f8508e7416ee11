# The core as a library for other programs: libmarl.a with marl.h, for find_package(marl), where it is
# the target marl::libmarl, and for pkg-config. It is static, and position-independent where
# CMAKE_POSITION_INDEPENDENT_CODE says so.
include(CMakePackageConfigHelpers)

set_target_properties(marl_core PROPERTIES OUTPUT_NAME marl EXPORT_NAME libmarl)
add_library(marl::libmarl ALIAS marl_core)

# A program in C links the C++ library as well.
if(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES MATCHES "stdc\\+\\+|c\\+\\+")
  set(cxx_library ${CMAKE_MATCH_0})
endif()
set(link_options)
if(MARL_SANITIZE)
  set(link_options -fsanitize=${MARL_SANITIZE})
endif()
target_link_libraries(marl_core INTERFACE $<INSTALL_INTERFACE:${cxx_library};m>)
target_link_options(marl_core INTERFACE $<INSTALL_INTERFACE:${link_options}>)

set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/marl)
set(pc_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(TARGETS marl_core EXPORT marl-targets ARCHIVE INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES driver/marl.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT marl-targets FILE marl-targets.cmake NAMESPACE marl:: DESTINATION ${config_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/marl-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES driver/marl-config.cmake ${PROJECT_BINARY_DIR}/marl-config-version.cmake
  DESTINATION ${config_folder})

# The files name each other from where they stand, so that the prefix can be moved.
file(RELATIVE_PATH MARL_PREFIX /${pc_folder} /)
configure_file(driver/marl.pc.in marl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/marl.pc DESTINATION ${pc_folder})
