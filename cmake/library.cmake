# SPDX-License-Identifier: MIT
# What other programs link: all layers but the applets, as libzav.a and libzav.so.0, with what
# pkg-config and CMake need to find them.

# The code of the shared library must run at any address, and zavbox need not pay for that: both
# libraries are made of objects of their own. Without ZAV_SHARED the archive takes the layers'.
add_library(libzav STATIC)
set(libraries libzav)
if(ZAV_SHARED)
    add_library(libzav_shared SHARED)
    list(APPEND libraries libzav_shared)
endif()
foreach(layer IN LISTS ZAV_LAYERS)
    set(objects zav_${layer})
    if(ZAV_SHARED)
        set(objects zav_${layer}_shared)
        get_target_property(sources zav_${layer} SOURCES)
        add_library(${objects} OBJECT ${sources})
        target_link_libraries(${objects} PRIVATE zav_compiler)
        target_include_directories(${objects} PRIVATE
            $<TARGET_PROPERTY:zav_${layer},INTERFACE_INCLUDE_DIRECTORIES>)
        # Nobody edits and rebuilds these alone, so that they are always compiled in batches; other
        # compilers cannot read this one's intermediate code.
        set_target_properties(${objects} PROPERTIES
            POSITION_INDEPENDENT_CODE ON
            CXX_VISIBILITY_PRESET hidden
            VISIBILITY_INLINES_HIDDEN ON
            INTERPROCEDURAL_OPTIMIZATION OFF
            UNITY_BUILD ON
            UNITY_BUILD_BATCH_SIZE 8)
    endif()
    foreach(library IN LISTS libraries)
        target_sources(${library} PRIVATE $<TARGET_OBJECTS:${objects}>)
    endforeach()
endforeach()
foreach(library IN LISTS libraries)
    set_target_properties(${library} PROPERTIES OUTPUT_NAME zav LINKER_LANGUAGE CXX)
    target_include_directories(${library} PUBLIC
        ${PROJECT_SOURCE_DIR}/include ${PROJECT_BINARY_DIR}/include)
    target_link_libraries(${library} PRIVATE zav_compiler)
endforeach()

# The soname's number grows when programs must be built anew.
if(ZAV_SHARED)
    set(map ${PROJECT_SOURCE_DIR}/cmake/libzav.map)
    set_target_properties(libzav_shared PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION 0 LINK_DEPENDS ${map})
    target_link_options(libzav_shared PRIVATE -Wl,--version-script=${map})
    if(NOT ZAV_SANITIZERS) # whose functions are the program's
        target_link_options(libzav_shared PRIVATE -Wl,-z,defs)
    endif()
endif()

# Both files find the rest from where they are, so that the tree can be moved.
include(CMakePackageConfigHelpers)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE zav_prefix_of_pc)
configure_file(cmake/zav.pc.in zav.pc @ONLY)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/zav)
configure_package_config_file(cmake/zavConfig.cmake.in zavConfig.cmake
    INSTALL_DESTINATION ${package}
    PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(zavConfigVersion.cmake COMPATIBILITY SameMinorVersion)

install(TARGETS ${libraries}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_BINARY_DIR}/zav.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES ${PROJECT_BINARY_DIR}/zavConfig.cmake ${PROJECT_BINARY_DIR}/zavConfigVersion.cmake
    DESTINATION ${package})
install(DIRECTORY include/zav ${PROJECT_BINARY_DIR}/include/zav
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
