# The layer check. BU_LAYERS (top CMakeLists.txt) lists the layers of the
# operator, lowest first, each naming its parts; a part is the folder of the
# same name and its library bu_<part>. A part may link and include only parts
# of the layers below its own, and the public headers (include/) nothing of
# any part. Links are checked when the build is configured, includes on every
# build (cmake/check_layer_includes.cmake) before libbuoutop.so is linked.

include(${CMAKE_CURRENT_LIST_DIR}/layer_ranks.cmake)

# bu_check_layers(<target that waits for the include check>)
function(bu_check_layers before)
    set(parts "")
    bu_layer_ranks(BU_LAYERS parts)
    list(TRANSFORM parts PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE folders)

    set(errors "")
    get_property(targets GLOBAL PROPERTY BU_OPERATOR_PARTS)
    foreach(target IN LISTS targets)
        string(REGEX REPLACE "^bu_" "" part ${target})
        if(NOT DEFINED rank_${part})
            string(APPEND errors "  ${target} belongs to no layer of BU_LAYERS\n")
            continue()
        endif()
        get_target_property(links ${target} LINK_LIBRARIES)
        foreach(link IN LISTS links)
            string(REGEX REPLACE "^bu_" "" used "${link}")
            if(DEFINED rank_${used} AND NOT rank_${used} LESS rank_${part})
                string(APPEND errors "  ${target} links ${link}, which is not below it\n")
            endif()
        endforeach()
    endforeach()
    if(errors)
        message(FATAL_ERROR "Layer check:\n${errors}")
    endif()

    set(sources "")
    foreach(folder IN LISTS folders ITEMS ${PROJECT_SOURCE_DIR}/include)
        file(GLOB_RECURSE found CONFIGURE_DEPENDS ${folder}/*.h ${folder}/*.c ${folder}/*.cpp)
        list(APPEND sources ${found})
    endforeach()
    string(REPLACE ";" "|" layers "${BU_LAYERS}")
    set(stamp ${CMAKE_BINARY_DIR}/layer_includes.stamp)
    set(script ${PROJECT_SOURCE_DIR}/cmake/check_layer_includes.cmake)
    add_custom_command(OUTPUT ${stamp}
        COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${PROJECT_SOURCE_DIR} -DLAYERS=${layers}
                -P ${script}
        COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
        DEPENDS ${sources} ${script} ${PROJECT_SOURCE_DIR}/cmake/layer_ranks.cmake
        COMMENT "Checking that each layer includes only the layers below it"
        VERBATIM)
    add_custom_target(bu_layer_check ALL DEPENDS ${stamp})
    add_dependencies(${before} bu_layer_check)
endfunction()
