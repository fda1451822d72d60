# Disassembles the optimised sanitizer object (with its relocations) and checks that one pass
# (dod_sanitize) still makes its three full-length fills: three indirect calls of the fill
# routine, the second given 0xFF. An optimiser that saw plain memset calls would drop the first
# two as dead stores.
# Arguments: -DOBJDUMP=<objdump> -DOBJECTS=<the sanitizer's object file>

list(LENGTH OBJECTS count)
if(NOT count EQUAL 1)
    message(FATAL_ERROR "Expected one sanitizer object, got: ${OBJECTS}")
endif()
execute_process(COMMAND ${OBJDUMP} -d -r -C --no-show-raw-insn ${OBJECTS}
                RESULT_VARIABLE result OUTPUT_VARIABLE listing ERROR_VARIABLE err)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${OBJDUMP} failed: ${err}")
endif()

string(REGEX MATCH "<CppUtil::Crypto::CSanitizer::dod_sanitize\\(void\\*, unsigned int\\)>:\n([^\n]+\n)+"
       body "${listing}")
if(body STREQUAL "")
    message(FATAL_ERROR "dod_sanitize not found in the disassembly of ${OBJECTS}")
endif()

# The fills are the indirect calls, except calls into other DLLs through their import slots (the
# relocation line below such a call names __imp_...).
string(REPLACE ";" "," body "${body}")
string(REPLACE "\n" ";" lines "${body}")
set(fills 0)
set(ones OFF)
set(after_call OFF)
foreach(line IN LISTS lines)
    if(line MATCHES "\tcall[q]? +\\*")
        math(EXPR fills "${fills} + 1")
        set(after_call ON)
    elseif(after_call AND line MATCHES "__imp_")
        math(EXPR fills "${fills} - 1")
        set(after_call OFF)
    else()
        set(after_call OFF)
        if(fills EQUAL 1 AND line MATCHES "\\$0xff,")
            set(ones ON)
        endif()
    endif()
endforeach()
if(NOT fills EQUAL 3 OR NOT ones)
    message(FATAL_ERROR "dod_sanitize should make three indirect fill calls, the second with 0xFF; "
                        "found ${fills} calls (0xFF for the second: ${ones}):\n${body}")
endif()
message(STATUS "dod_sanitize keeps its three fills")
