# Drops the units of a list that are not written yet.
macro(kvgpu_drop_missing list)
    foreach(unit IN LISTS ${list})
        if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${unit})
            message(STATUS "not there yet: ${unit}")
            list(REMOVE_ITEM ${list} ${unit})
        endif()
    endforeach()
endmacro()
