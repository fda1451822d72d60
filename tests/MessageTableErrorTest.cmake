# Configures and builds tests/broken-mc, whose Broken.mc misspells a keyword on line 11: the
# build must fail and name that file and line, on POSIX (cpputil-mc) and Win32 (windmc) alike.

file(REMOVE_RECURSE ${WORK_DIR})
set(configure ${CMAKE_COMMAND} -S ${PROJECT_DIR} -B ${WORK_DIR} -G ${GENERATOR}
    -DCPPUTIL_MESSAGE_TABLE_MODULE=${MODULE} -DMC_TOOL=${MC_TOOL})
if(TOOLCHAIN_FILE)
    list(APPEND configure -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE})
endif()
execute_process(COMMAND ${configure} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "Configuring the broken project failed:\n${out}")
endif()

execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}
    RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(result EQUAL 0)
    message(FATAL_ERROR "A .mc file with a syntax error built:\n${out}")
endif()
if(NOT out MATCHES "Broken\\.mc:11: error: ")
    message(FATAL_ERROR "The failed build does not name Broken.mc:11:\n${out}")
endif()
message(STATUS "The build failed as it should:\n${out}")
