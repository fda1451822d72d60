# Lists the symbolic names of a message header as initialisers {NAME, "NAME"}, for a C++ source
# that includes the header first (cmake -P):
#   -DHEADER=<header made by the message compiler> -DOUTPUT=<file>
#
# windmc, mc and cpputil-mc all put "// MessageId: NAME" above each message's #define, while
# the forms of the values differ; the compiler works the values out.

cmake_minimum_required(VERSION 3.20)

file(STRINGS ${HEADER} lines REGEX "^// MessageId: [A-Za-z_][A-Za-z0-9_]*\r?$")
get_filename_component(header_name ${HEADER} NAME)
set(text "// Generated from ${header_name}: each message's id and symbolic name. Do not edit.\n")
foreach(line IN LISTS lines)
    string(REGEX REPLACE "^// MessageId: ([A-Za-z0-9_]*).*" "\\1" name "${line}")
    string(APPEND text "{${name}, \"${name}\"},\n")
endforeach()
# An unchanged file keeps its time stamp, so its includers are not compiled again.
set(old "")
if(EXISTS ${OUTPUT})
    file(READ ${OUTPUT} old)
endif()
if(NOT old STREQUAL text)
    file(WRITE ${OUTPUT} "${text}")
endif()
