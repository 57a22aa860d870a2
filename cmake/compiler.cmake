# SPDX-License-Identifier: MIT
# What everything of ours is compiled with.
add_library(zav_compiler INTERFACE)
set_property(TARGET zav_compiler PROPERTY EXPORT_NAME compiler)

target_compile_options(zav_compiler INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2 -Wundef
    -Wnull-dereference -Wcast-align -Wcast-qual
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast>
    -ffunction-sections -fdata-sections)
target_link_options(zav_compiler INTERFACE -Wl,--gc-sections)

if(ZAV_WERROR)
    target_compile_options(zav_compiler INTERFACE -Werror)
endif()

if(CMAKE_BUILD_TYPE STREQUAL "Release")
    # Overflows end the process, stacks and the heap are guarded, nothing is writable and executable.
    target_compile_options(zav_compiler INTERFACE
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection
        -fcf-protection)
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
