# Runs after a GoogleTest program is built: writes a CTest file that runs it once per suite, so that fixtures
# shared by a suite's tests are created once. LABELS specifies which suites are slow and which are rows of
# settings.
# cmake -D PROGRAM=path -D NAME=name -D FILE=path -D LABELS=path -P add_suites.cmake
execute_process(COMMAND ${PROGRAM} --gtest_list_tests OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "\n[^ \n]+\\." suites "\n${listing}")  # suites are unindented, their tests indented
if(NOT suites)
  message(FATAL_ERROR "${NAME} has no tests")
endif()
cmake_policy(SET CMP0057 NEW)  # if(IN_LIST)
include(${LABELS})
set(commands "")
foreach(suite IN LISTS suites)
  string(STRIP "${suite}" suite)
  string(REGEX REPLACE "\\.$" "" title "${suite}")
  set(labels "")
  foreach(label IN ITEMS MATRIX SLOW)
    foreach(pattern IN LISTS VL_${label}_SUITES)
      if("${NAME}: ${title}" MATCHES "^${pattern}$" AND NOT label IN_LIST labels)
        list(APPEND labels ${label})
      endif()
    endforeach()
  endforeach()
  string(TOLOWER "${labels}" labels)
  list(LENGTH labels cost)  # the longest first, so that none is alone at the end
  string(APPEND commands "add_test([=[${NAME}: ${title}]=] [=[${PROGRAM}]=] [=[--gtest_filter=${suite}*]=])\n"
    "set_tests_properties([=[${NAME}: ${title}]=] PROPERTIES LABELS \"${labels}\" COST ${cost})\n")
endforeach()
file(WRITE ${FILE} "${commands}")
