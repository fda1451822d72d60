# Build helpers shared by the library, its tests, examples and benchmarks.

# Warnings are errors on every compiler we build with.
function(cpputil_set_warnings target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /WX)
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
    endif()
endfunction()

# Boost is used header-only. A cross compiler gets a folder that holds nothing but the boost
# headers, so it never sees the build machine's other system headers.
function(cpputil_find_boost)
    if(TARGET Boost::headers)
        return()
    endif()
    if(CMAKE_CROSSCOMPILING)
        set(CPPUTIL_BOOST_HEADERS "/usr/include/boost" CACHE PATH "Boost headers for the cross build")
        set(dir ${CMAKE_BINARY_DIR}/boost-include)
        file(MAKE_DIRECTORY ${dir})
        if(NOT EXISTS ${dir}/boost)
            file(CREATE_LINK ${CPPUTIL_BOOST_HEADERS} ${dir}/boost SYMBOLIC)
        endif()
        add_library(Boost::headers INTERFACE IMPORTED GLOBAL)
        set_target_properties(Boost::headers PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${dir})
    else()
        find_package(Boost 1.74 REQUIRED CONFIG)
    endif()
endfunction()

# The MinGW runtime DLLs that every program built here needs at run time.
function(cpputil_mingw_runtime_dlls out)
    set(dlls)
    foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
                        OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${path}" OR NOT EXISTS "${path}")
            message(FATAL_ERROR "The MinGW runtime DLL ${name} was not found")
        endif()
        list(APPEND dlls ${path})
    endforeach()
    set(${out} ${dlls} PARENT_SCOPE)
endfunction()

function(cpputil_copy_mingw_runtime dir)
    cpputil_mingw_runtime_dlls(dlls)
    file(COPY ${dlls} DESTINATION ${dir})
endfunction()
