# Disassembles the optimised sanitizer object and checks that one pass (dod_sanitize) still makes
# its three full-length fills: three indirect calls of the fill routine, one of them given 0xFF.
# An optimiser that saw plain memset calls would drop the first two as dead stores.
# Arguments: -DOBJDUMP=<objdump> -DOBJECTS=<the sanitizer's object file>

list(LENGTH OBJECTS count)
if(NOT count EQUAL 1)
    message(FATAL_ERROR "Expected one sanitizer object, got: ${OBJECTS}")
endif()
execute_process(COMMAND ${OBJDUMP} -d -C --no-show-raw-insn ${OBJECTS}
                RESULT_VARIABLE result OUTPUT_VARIABLE listing ERROR_VARIABLE err)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${OBJDUMP} failed: ${err}")
endif()

string(REGEX MATCH "<CppUtil::Crypto::CSanitizer::dod_sanitize\\(void\\*, unsigned int\\)>:\n([^\n]+\n)+"
       body "${listing}")
if(body STREQUAL "")
    message(FATAL_ERROR "dod_sanitize not found in the disassembly of ${OBJECTS}")
endif()
string(REGEX MATCHALL "\tcall[q]? +\\*" calls "${body}")
list(LENGTH calls fills)
if(NOT fills EQUAL 3)
    message(FATAL_ERROR "dod_sanitize makes ${fills} indirect fill calls, not 3:\n${body}")
endif()
if(NOT body MATCHES "\\$0xff,")
    message(FATAL_ERROR "dod_sanitize never passes 0xFF:\n${body}")
endif()
message(STATUS "dod_sanitize keeps its three fills")
