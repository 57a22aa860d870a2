# SPDX-License-Identifier: MIT
# The layers of the product. Each is the library zav_NAME, made of every source in its folder. A
# layer sees its own headers and those of the layers below it, and nothing else: the compiler finds
# no header, and the linker no function, of a layer above.

# zav_layer(NAME FOLDER [ABOVE NAME]) - the layer in FOLDER, on top of the one named behind ABOVE.
# Its headers are included as "NAME/...". ZAV_LAYERS has the names of those so far.
function(zav_layer name folder)
    cmake_parse_arguments(PARSE_ARGV 2 layer "" "ABOVE" "")
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${folder}/*.cpp)
    list(FILTER sources EXCLUDE REGEX "/applets/zavbox\\.cpp$") # main: the tests bring their own
    add_library(zav_${name} STATIC ${sources})

    # An include directory that holds nothing but a link to this layer.
    set(headers ${PROJECT_BINARY_DIR}/layers/${name})
    file(MAKE_DIRECTORY ${headers})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${folder} ${headers}/${name} SYMBOLIC)
    target_include_directories(zav_${name} PUBLIC ${headers})

    # The files of the commands have the same names for the same things.
    if(ZAV_BATCH GREATER 1 AND NOT name STREQUAL "applets")
        set_target_properties(zav_${name} PROPERTIES
            UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${ZAV_BATCH})
    endif()

    set(ZAV_LAYERS ${ZAV_LAYERS} ${name} PARENT_SCOPE)
    target_link_libraries(zav_${name} PUBLIC zav_compiler)
    if(layer_ABOVE)
        target_link_libraries(zav_${name} PUBLIC zav_${layer_ABOVE})
    endif()
endfunction()
