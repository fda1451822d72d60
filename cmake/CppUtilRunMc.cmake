# Runs the Win32 message compiler for cpputil_add_message_table (cmake -P):
#   -DMC=<windmc or mc> -DSOURCE=<file.mc> -DDIR=<output folder> -DNAME=<output base name>
#   -DCUSTOMER=<bool>
#
# The compiler is given a copy of the file with CR LF line ends: windmc stores each text line with
# the line end it finds, and a table's lines end with CR LF, as the Microsoft compiler makes them.
# Its diagnostics name the copy; they are reported against the original as <file>:<line>: ...
cmake_minimum_required(VERSION 3.20)

file(MAKE_DIRECTORY ${DIR})
file(READ ${SOURCE} text)
string(REPLACE "\r\n" "\n" text "${text}")
string(REPLACE "\n" "\r\n" text "${text}")
if(NOT text STREQUAL "" AND NOT text MATCHES "\r\n$")
    string(APPEND text "\r\n")
endif()
file(WRITE ${DIR}/${NAME}.mc "${text}")

set(options)
if(CUSTOMER)
    list(APPEND options -c)
endif()
execute_process(
    COMMAND ${MC} ${options} -h . -r . ${NAME}.mc
    WORKING_DIRECTORY ${DIR}
    RESULT_VARIABLE result
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
)

# windmc writes "In <file> at line <n>: <kind>: <text>"; the same error may come twice, once
# from the parser and once as fatal.
string(REPLACE "\r" "" output "${output}")
string(REPLACE "\n" ";" lines "${output}")
set(diagnostics)
foreach(line IN LISTS lines)
    if(line MATCHES "^In .* at line ([0-9]+): (parser|fatal|error|warning): (.*)$")
        set(kind error)
        if(CMAKE_MATCH_2 STREQUAL "warning")
            set(kind warning)
        endif()
        set(line "${SOURCE}:${CMAKE_MATCH_1}: ${kind}: ${CMAKE_MATCH_3}")
    endif()
    if(NOT line STREQUAL "" AND NOT line IN_LIST diagnostics)
        list(APPEND diagnostics "${line}")
    endif()
endforeach()
if(diagnostics)
    string(REPLACE ";" "\n" diagnostics "${diagnostics}")
    message(NOTICE "${diagnostics}")
endif()
if(NOT result EQUAL 0)
    file(REMOVE ${DIR}/${NAME}.rc ${DIR}/${NAME}.h)
    message(FATAL_ERROR "The message compiler failed on ${SOURCE}")
endif()
