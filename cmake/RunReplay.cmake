# Runs velto-replay on one script and compares what it prints with the expected output.
# -DREPLAY=<binary> -DZONE=<IANA zone> -DINPUT=<script.jsonl>
# and either -DEXPECTED=<file> or -DEXPECT_STATUS=<code> -DEXPECT_ERROR=<text on stderr>
execute_process(
  COMMAND ${REPLAY} --tz ${ZONE}
  INPUT_FILE ${INPUT}
  OUTPUT_VARIABLE output
  ERROR_VARIABLE errors
  RESULT_VARIABLE status)
if(DEFINED EXPECTED)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "velto-replay exited with ${status}: ${errors}")
  endif()
  file(READ ${EXPECTED} expected)
  if(NOT output STREQUAL expected)
    file(WRITE ${INPUT}.actual "${output}")
    message(FATAL_ERROR "output differs from ${EXPECTED}; see ${INPUT}.actual")
  endif()
else()
  if(NOT status EQUAL EXPECT_STATUS)
    message(FATAL_ERROR "expected exit status ${EXPECT_STATUS}, got ${status}: ${errors}")
  endif()
  string(FIND "${errors}" "${EXPECT_ERROR}" found)
  if(found EQUAL -1)
    message(FATAL_ERROR "expected \"${EXPECT_ERROR}\" on stderr, got: ${errors}")
  endif()
endif()
