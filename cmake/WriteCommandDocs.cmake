# Writes the shell completions and velto.1 from the built `velto` (-DVELTO=... -DOUT=...), in
# English and whatever settings the building user keeps.
set(run ${CMAKE_COMMAND} -E env XDG_CONFIG_HOME=${OUT}/no-config LANGUAGE=en LC_ALL=C.UTF-8)
foreach(shell bash zsh fish)
  execute_process(COMMAND ${run} ${VELTO} completions ${shell} OUTPUT_FILE ${OUT}/velto.${shell}
                  RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "velto completions ${shell} failed: ${status}")
  endif()
endforeach()
execute_process(COMMAND ${run} ${VELTO} manpage OUTPUT_FILE ${OUT}/velto.1 RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "velto manpage failed: ${status}")
endif()
