# cpputil_add_message_table(<target> <file.mc> [HEADER <name.h>] [CUSTOMER])
#
# Gives an executable or shared library a message table, compiled from a message text file, that
# GetModuleHandleA + FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE) read at run time. The header with
# the file's symbolic names (<file>.h, or the HEADER name) is generated into the build tree and put
# on the target's include path. CUSTOMER sets the customer bit in every id, as mc -c does.
#
# Win32: the message compiler (CMAKE_MC_COMPILER: windmc or mc) makes the .rc, .bin and header,
# and the resource compiler links the table into the module.
# POSIX: cpputil-mc makes the header and a C++ source that registers the table, while the module
# is loaded, under the target's OUTPUT_NAME or name; the target must link CppUtil::CppUtil.
#
# Call it in the directory that creates the target, once per target.

if(WIN32)
    get_property(_cpputil_languages GLOBAL PROPERTY ENABLED_LANGUAGES)
    if(NOT "RC" IN_LIST _cpputil_languages)
        enable_language(RC)
    endif()
    unset(_cpputil_languages)
endif()

function(cpputil_add_message_table target source)
    cmake_parse_arguments(PARSE_ARGV 2 arg "CUSTOMER" "HEADER" "")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "cpputil_add_message_table: unknown arguments ${arg_UNPARSED_ARGUMENTS}")
    endif()
    get_target_property(type ${target} TYPE)
    if(NOT type MATCHES "^(EXECUTABLE|SHARED_LIBRARY|MODULE_LIBRARY|OBJECT_LIBRARY)$")
        # A static library's table would belong to whichever module links it, and a linker
        # drops an object nothing refers to. An object library's table, named by its OUTPUT_NAME,
        # goes whole into every module built from its objects.
        message(FATAL_ERROR "cpputil_add_message_table: ${target} is a ${type}; only executables, "
                            "shared and object libraries have a message table")
    endif()
    get_target_property(existing ${target} CPPUTIL_MESSAGE_TABLE)
    if(existing)
        message(FATAL_ERROR "cpputil_add_message_table: ${target} already has the table ${existing}")
    endif()
    get_filename_component(source ${source} ABSOLUTE BASE_DIR ${CMAKE_CURRENT_SOURCE_DIR})
    set_target_properties(${target} PROPERTIES CPPUTIL_MESSAGE_TABLE ${source})

    if(arg_HEADER)
        get_filename_component(name ${arg_HEADER} NAME_WLE)
    else()
        get_filename_component(name ${source} NAME_WLE)
    endif()
    set(dir ${CMAKE_CURRENT_BINARY_DIR}/${target}-messages)
    set(header ${dir}/${name}.h)

    if(WIN32)
        if(NOT CMAKE_MC_COMPILER)
            find_program(CMAKE_MC_COMPILER NAMES windmc mc REQUIRED)
        endif()
        add_custom_command(
            OUTPUT ${dir}/${name}.rc ${header}
            COMMAND ${CMAKE_COMMAND} -DMC=${CMAKE_MC_COMPILER} -DSOURCE=${source} -DDIR=${dir}
                    -DNAME=${name} -DCUSTOMER=${arg_CUSTOMER}
                    -P ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/CppUtilRunMc.cmake
            DEPENDS ${source} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/CppUtilRunMc.cmake
            COMMENT "Compiling the message table ${source}"
            VERBATIM
        )
        target_sources(${target} PRIVATE ${dir}/${name}.rc ${header})
    else()
        set(module "$<TARGET_PROPERTY:${target},OUTPUT_NAME>")
        set(module "$<IF:$<BOOL:${module}>,${module},${target}>")
        set(options)
        if(type STREQUAL "EXECUTABLE")
            list(APPEND options --executable)
        endif()
        if(arg_CUSTOMER)
            list(APPEND options --customer)
        endif()
        add_custom_command(
            OUTPUT ${dir}/${name}.mc.cpp ${header}
            COMMAND ${CMAKE_COMMAND} -E make_directory ${dir}
            COMMAND CppUtil::cpputil-mc --module ${module} ${options}
                    --header ${header} --source ${dir}/${name}.mc.cpp ${source}
            DEPENDS ${source} CppUtil::cpputil-mc
            COMMENT "Compiling the message table ${source}"
            VERBATIM
        )
        target_sources(${target} PRIVATE ${dir}/${name}.mc.cpp ${header})
    endif()
    # The resource compiler finds the .bin files here as well.
    target_include_directories(${target} PRIVATE ${dir})
endfunction()
