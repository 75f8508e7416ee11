# Native code is made of stencils, which are compiled for themselves and cut out of the object file.
if(MARL_TAIL_CALLS AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_NAME STREQUAL "Linux" AND
   CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64" AND NOT CMAKE_CROSSCOMPILING AND
   NOT CMAKE_CXX_FLAGS MATCHES "--coverage|-pg|-fsanitize")
  set(MARL_HAS_STENCILS ON)
else()
  set(MARL_HAS_STENCILS OFF)
endif()
option(MARL_NATIVE "Make native code of what is called often" ${MARL_HAS_STENCILS})
set(MARL_NATIVE_CALLS 500 CACHE STRING "Calls of code before it gets native code; tests lower it")
if(MARL_NATIVE)
  add_library(marl_stencils OBJECT reduce/native/stencils.cpp)
  target_include_directories(marl_stencils PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_definitions(marl_stencils PRIVATE MARL_POOL=$<BOOL:${MARL_POOL}>
    MARL_COUNT_NODES=$<BOOL:${MARL_COUNT_NODES}> MARL_CHECK_CODE=0 MARL_SPAN_LIMIT=${MARL_SPAN_LIMIT}
    MARL_TAIL_CALLS=1 MARL_NATIVE=1)
  # No register is saved, no function called, nothing stands on the stack, and every hole is a number in
  # an instruction.
  set_target_properties(marl_stencils PROPERTIES COMPILE_OPTIONS "-O2;-g0;-w;-fno-lto;\
-fno-pic;-fno-pie;-mcmodel=small;-mno-red-zone;-fcf-protection=none;-fno-exceptions;-fno-stack-protector;\
-U_FORTIFY_SOURCE;-fno-asynchronous-unwind-tables;-fno-unwind-tables;-ffunction-sections;\
-fomit-frame-pointer;-fno-align-jumps;-fno-align-labels;-fno-align-loops;-fno-jump-tables;\
-fno-reorder-blocks-and-partition;-fno-tree-vectorize;-fno-tree-loop-distribute-patterns;-finline-functions;\
--param=max-inline-insns-single=10000;--param=max-inline-insns-auto=10000;--param=inline-unit-growth=1000;\
-ffixed-rbx;-ffixed-rbp;-ffixed-r12;-ffixed-r13;-ffixed-r14;-ffixed-r15")
  add_executable(extract_stencils reduce/native/extract.cpp)
  set(MARL_STENCIL_TABLES ${PROJECT_BINARY_DIR}/stencils/stencils.inc)
  add_custom_command(OUTPUT ${MARL_STENCIL_TABLES}
    DEPENDS marl_stencils $<TARGET_OBJECTS:marl_stencils> extract_stencils reduce/native/check.cmake
    COMMAND ${CMAKE_COMMAND} -DOBJDUMP=${CMAKE_OBJDUMP} -DOBJECT=$<TARGET_OBJECTS:marl_stencils>
      -P ${PROJECT_SOURCE_DIR}/reduce/native/check.cmake
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/stencils
    COMMAND extract_stencils $<TARGET_OBJECTS:marl_stencils> ${MARL_STENCIL_TABLES} VERBATIM)
else()
  message(STATUS "marl makes no native code: that takes a release build by gcc for Linux on x86-64")
endif()

# What translates. The laboratory's core runs the loop alone, and lists what would be made.
function(add_native_code name)
  if(MARL_NATIVE)
    set(translator ${PROJECT_SOURCE_DIR}/reduce/native/native.cpp)
    target_sources(${name} PRIVATE ${translator} ${PROJECT_SOURCE_DIR}/reduce/native/region.cpp)
    set_source_files_properties(${translator} PROPERTIES OBJECT_DEPENDS ${MARL_STENCIL_TABLES})
    target_include_directories(${name} PRIVATE ${PROJECT_BINARY_DIR}/stencils)
  endif()
endfunction()
