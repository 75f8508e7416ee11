# Whether the stencils in OBJECT are made of what can be copied anywhere: of jumps out, and of nothing
# that calls, returns, or uses the processor's stack or a register that would have to be saved.
execute_process(COMMAND ${OBJDUMP} -d --no-show-raw-insn ${OBJECT} OUTPUT_VARIABLE code COMMAND_ERROR_IS_FATAL ANY)
if(NOT code MATCHES "stencil_enter" OR code MATCHES "\t(call|ret|push|pop|leave)[^\n]*|%(rsp|rbp|rbx|r1[2-5])")
  message(FATAL_ERROR "A stencil has what can't be copied: ${CMAKE_MATCH_0}. With -DMARL_NATIVE=OFF there are none.")
endif()
