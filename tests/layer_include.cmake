# SPDX-License-Identifier: GPL-3.0-or-later
# With a layer's include folders (INCLUDES, joined by "|"), header SEES must
# compile and header HIDDEN must not be found: an upward include fails.
string(REPLACE "|" ";" flags "${INCLUDES}")
list(TRANSFORM flags PREPEND -I)
foreach(header IN ITEMS ${SEES} ${HIDDEN})
  execute_process(COMMAND ${CXX} -std=c++20 -fsyntax-only ${flags} -include ${header} -x c++ /dev/null
                  RESULT_VARIABLE failed ERROR_VARIABLE errors)
  if("${header}" STREQUAL "${SEES}" AND failed)
    message(FATAL_ERROR "${header} does not compile here:\n${errors}")
  elseif("${header}" STREQUAL "${HIDDEN}" AND NOT errors MATCHES "${header}.*(No such file|not found)")
    message(FATAL_ERROR "${header} is visible here:\n${errors}")
  endif()
endforeach()
