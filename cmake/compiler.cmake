# SPDX-License-Identifier: MIT
# What everything of ours is compiled with.
include(CheckCXXCompilerFlag)
add_library(zav_compiler INTERFACE)
set_property(TARGET zav_compiler PROPERTY EXPORT_NAME compiler)

target_compile_options(zav_compiler INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2 -Wundef
    -Wnull-dereference -Wcast-align -Wcast-qual
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast>
    -ffunction-sections -fdata-sections)
target_link_options(zav_compiler INTERFACE -Wl,--gc-sections)

# On 32-bit systems too a file system may be large, and the year 2038 comes.
target_compile_definitions(zav_compiler INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

if(ZAV_WERROR)
    target_compile_options(zav_compiler INTERFACE -Werror)
endif()

if(CMAKE_BUILD_TYPE STREQUAL "Release")
    # Overflows end the process, stacks and the heap are guarded, nothing is writable and executable.
    target_compile_options(zav_compiler INTERFACE
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
    # Not every compiler has these for every processor.
    foreach(option stack-clash-protection cf-protection)
        string(MAKE_C_IDENTIFIER ZAV_HAS_${option} known)
        check_cxx_compiler_flag("-Werror -f${option}" ${known})
        if(${known})
            target_compile_options(zav_compiler INTERFACE -f${option})
        endif()
    endforeach()
    target_link_options(zav_compiler INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
endif()

if(CMAKE_INTERPROCEDURAL_OPTIMIZATION AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU"
        AND NOT ZAV_SHARED)
    # libzav.a is linked by programs that are built in other ways: when it is made of the layers'
    # objects, they need code of their own as well.
    target_compile_options(zav_compiler INTERFACE -ffat-lto-objects)
endif()

if(ZAV_SANITIZERS)
    target_compile_options(zav_compiler INTERFACE
        -fsanitize=${ZAV_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(zav_compiler INTERFACE -fsanitize=${ZAV_SANITIZERS})
endif()

if(ZAV_COVERAGE)
    target_compile_options(zav_compiler INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(zav_compiler INTERFACE --coverage)
endif()
