# Installs the built package into a fresh prefix and builds a program against it the way a user
# would: find_package(CppUtil CONFIG REQUIRED) and, on the native build, pkg-config too. The
# program has a message table of its own.

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "Failed (${result}): ${ARGN}\n${out}\n${err}")
    endif()
    set(RUN_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

set(configure ${CMAKE_COMMAND} -S ${CONSUMER_SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
    # A sanitized library needs a sanitized program.
    "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${EXE_LINKER_FLAGS}")
if(TOOLCHAIN_FILE)
    list(APPEND configure -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}
        -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH)
endif()
run(${configure})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)

if(EMULATOR)
    # Windows finds DLLs next to the program: give it the installed ones.
    file(GLOB dlls ${prefix}/bin/*.dll)
    file(COPY ${dlls} DESTINATION ${WORK_DIR}/build)
    run(${CMAKE_COMMAND} -E env CPPUTIL_WINEPREFIX=${WINEPREFIX_DIR}
        ${EMULATOR} ${WORK_DIR}/build/consumer.exe)
else()
    run(${WORK_DIR}/build/consumer)
endif()
if(NOT RUN_OUTPUT MATCHES "consumer: Lot A-17 logged through CppUtil")
    message(FATAL_ERROR "Unexpected consumer output: ${RUN_OUTPUT}")
endif()
if(NOT RUN_OUTPUT MATCHES "consumer: AES and SHA-256 answer C code")
    message(FATAL_ERROR "The consumer's C code did not get the AES and SHA-256 answers: ${RUN_OUTPUT}")
endif()
# Its own table, compiled with the installed cpputil_add_message_table.
set(table_line "consumer: table message read through the library")
if(NOT RUN_OUTPUT MATCHES "${table_line}")
    message(FATAL_ERROR "The consumer did not read its message table: ${RUN_OUTPUT}")
endif()

if(NOT EMULATOR)
    # A host with Win32 names of its own builds against the installed headers, and the library's
    # own calls do not land in the host's functions of the same names.
    run(${WORK_DIR}/build/own-names)
    if(NOT RUN_OUTPUT MATCHES "own-names: call sent, flag 1, span 90 min, host calls 0")
        message(FATAL_ERROR "Unexpected output of the host with its own Win32 names: ${RUN_OUTPUT}")
    endif()

    # The library exports nothing in the global namespace but its C functions and the MFC-like
    # free functions and operators of its installed classes: no Win32 name a host might define.
    # Mangled names tell: a global function is _Z<length><name>, a member or a namespace's
    # function _ZN..., a vtable or type name _ZT...
    find_program(NM nm REQUIRED)
    file(GLOB_RECURSE library ${prefix}/libcpputil.so)
    run(${NM} -D --defined-only ${library})
    string(REPLACE "\n" ";" symbols "${RUN_OUTPUT}")
    set(count 0)
    set(global_names)
    foreach(line IN LISTS symbols)
        if(NOT line MATCHES "^[0-9a-f]+ [A-Za-z] ([^ ]+)$")
            continue()
        endif()
        math(EXPR count "${count} + 1")
        set(name ${CMAKE_MATCH_1})
        # AddressSanitizer exports an ODR indicator beside each public global: judge the global.
        if(name MATCHES "^__odr_asan\\.(.*)$")
            set(name ${CMAKE_MATCH_1})
        endif()
        if(name MATCHES "^_Z[0-9]" AND NOT name MATCHES "^_Z[0-9]+Afx")
            list(APPEND global_names ${name})
        elseif(NOT name MATCHES "^_Z" AND
               NOT name MATCHES "^(aes_|sha(224|256|384|512)|_init$|_fini$|_edata$|_end$|__bss_start$)")
            list(APPEND global_names ${name})
        endif()
    endforeach()
    if(global_names)
        message(FATAL_ERROR "libcpputil.so exports global names: ${global_names}")
    endif()
    # Nor the layer's own versions of them, which live hidden in its namespace: of the layer's
    # functions, classes and their statics only what installed headers declare is exported.
    string(REGEX MATCHALL "_Z(N|NK|T[VIS]N|ZN)K?7CppUtil8Platform[0-9]+[A-Za-z_]+" layer "${RUN_OUTPUT}")
    foreach(name IN LISTS layer)
        if(NOT name MATCHES "8Platform(7CRegKey|20CMessageTableCatalog|16GetDefaultButton)")
            message(FATAL_ERROR "libcpputil.so exports the platform layer's ${name}")
        endif()
    endforeach()
    if(count LESS 100)
        message(FATAL_ERROR "nm listed only ${count} symbols of ${library}")
    endif()
    message(STATUS "libcpputil.so: ${count} defined dynamic symbols, no global Win32 name")

    # The installed tools run from their prefix with nothing from the environment to find the
    # library by: their own run path has to.
    set(installed ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH
        CPPUTIL_REGISTRY_ROOT=${WORK_DIR}/registry)
    set(key "HKCU\\Software\\Velmora\\Quillon\\Consumer")
    run(${installed} ${prefix}/bin/cpputil-reg add ${key} /v Runs /t REG_DWORD /d 7 /f)
    run(${installed} ${prefix}/bin/cpputil-reg query ${key} /v Runs)
    if(NOT RUN_OUTPUT MATCHES "Runs +REG_DWORD +0x7\n")
        message(FATAL_ERROR "The installed cpputil-reg did not keep the value: ${RUN_OUTPUT}")
    endif()

    find_program(PKG_CONFIG pkg-config REQUIRED)
    file(GLOB_RECURSE pcfile ${prefix}/cpputil.pc)
    get_filename_component(pcdir ${pcfile} DIRECTORY)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pcdir}
        ${PKG_CONFIG} --cflags --libs cpputil
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "pkg-config does not know cpputil")
    endif()
    separate_arguments(flags UNIX_COMMAND "${CXX_FLAGS} ${flags}")
    # Without CMake the installed message compiler makes the table's header and source.
    set(tables ${WORK_DIR}/consumer-pc-messages)
    file(MAKE_DIRECTORY ${tables})
    run(${installed} ${prefix}/bin/cpputil-mc --module consumer-pc --executable
        --header ${tables}/Consumer.h --source ${tables}/Consumer.mc.cpp
        ${CONSUMER_SOURCE_DIR}/Consumer.mc)
    run(cc -std=c99 -c ${CONSUMER_SOURCE_DIR}/CryptoHost.c ${flags} -o ${WORK_DIR}/CryptoHost.o)
    run(c++ -std=c++17 ${CONSUMER_SOURCE_DIR}/main.cpp ${tables}/Consumer.mc.cpp ${WORK_DIR}/CryptoHost.o
        -I${tables} ${flags} -o ${WORK_DIR}/consumer-pc -Wl,-rpath,${prefix}/lib)
    run(${WORK_DIR}/consumer-pc)
    if(NOT RUN_OUTPUT MATCHES "consumer: Lot A-17 logged through CppUtil" OR
       NOT RUN_OUTPUT MATCHES "${table_line}" OR
       NOT RUN_OUTPUT MATCHES "consumer: AES and SHA-256 answer C code")
        message(FATAL_ERROR "Unexpected output of the pkg-config build: ${RUN_OUTPUT}")
    endif()
endif()
