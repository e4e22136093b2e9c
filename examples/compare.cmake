# Runs PROGRAM and fails unless it prints the text of the file EXPECTED.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
file(READ ${EXPECTED} expected)
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "expected\n${expected}printed\n${printed}")
endif()
