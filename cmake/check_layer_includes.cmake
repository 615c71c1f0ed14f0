# Fails when a file of a layer includes a header of a part that is not below
# it. Run as a script:
#   cmake -DSOURCE_DIR=<tree> -DLAYERS="<parts>|<parts>|..." -P check_layer_includes.cmake
# LAYERS lists the layers lowest first ("|" between layers, spaces between the
# parts of one layer); each part is a folder of SOURCE_DIR. The folder
# include/, when there, holds the public headers, below every layer.
# A quoted include is looked up beside the including file, then in each
# folder; one that is found nowhere (a system header) is not a part's.

include(${CMAKE_CURRENT_LIST_DIR}/layer_ranks.cmake)

string(REPLACE "|" ";" layers "${LAYERS}")
set(rank_include -1)
set(folders include)
bu_layer_ranks(layers folders)

# The part a file of the tree belongs to: the first folder of its path.
function(part_of file out)
    file(RELATIVE_PATH relative ${SOURCE_DIR} ${file})
    string(REGEX REPLACE "/.*" "" part "${relative}")
    set(${out} ${part} PARENT_SCOPE)
endfunction()

set(errors "")
foreach(folder IN LISTS folders)
    file(GLOB_RECURSE files ${SOURCE_DIR}/${folder}/*.h ${SOURCE_DIR}/${folder}/*.c
         ${SOURCE_DIR}/${folder}/*.cpp)
    foreach(file IN LISTS files)
        get_filename_component(here ${file} DIRECTORY)
        file(STRINGS ${file} lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
        foreach(line IN LISTS lines)
            string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]+)\".*" "\\1" name "${line}")
            set(target "")
            if(EXISTS ${here}/${name})
                set(target ${here}/${name})
            else()
                foreach(candidate IN LISTS folders)
                    if(EXISTS ${SOURCE_DIR}/${candidate}/${name})
                        set(target ${SOURCE_DIR}/${candidate}/${name})
                        break()
                    endif()
                endforeach()
            endif()
            if(target STREQUAL "")
                continue()
            endif()
            part_of(${target} used)
            if(NOT used STREQUAL folder AND NOT rank_${used} LESS rank_${folder})
                file(RELATIVE_PATH shown ${SOURCE_DIR} ${file})
                string(APPEND errors
                       "  ${shown} includes \"${name}\" of ${used}, which is not below ${folder}\n")
            endif()
        endforeach()
    endforeach()
endforeach()
if(errors)
    message(FATAL_ERROR "Layer check:\n${errors}")
endif()
