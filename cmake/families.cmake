# Which families a build holds, and for which element types.

set(KVGPU_FAMILIES all CACHE STRING
    "Family groups that the library holds, as in \"reductions;sorting\", or all; cmake/exports/ has a list for each")
set(KVGPU_INSTANCES all CACHE STRING
    "Element types that families are built for: all, or sample, one of each kind")
set_property(CACHE KVGPU_INSTANCES PROPERTY STRINGS all sample)

if(KVGPU_INSTANCES STREQUAL sample)
    add_compile_definitions(KVGPURUNTIME_SAMPLE_INSTANCES)
endif()

set(known_families)
set(chosen_families)
set(family_sources)
set(units_by_group)
set(public_headers)
foreach(header IN ITEMS current_device device_properties types version)
    list(APPEND public_headers include/gpuruntime/${header}.hpp)
endforeach()
set(export_lists ${PROJECT_SOURCE_DIR}/cmake/exports/foundation.txt ${kvgpuruntime_runtime_exports})

# kvgpu_family_group(<group> HEADERS <name>... SOURCES <unit>...)
# A group of families that is built as a whole or not at all, with its public headers include/gpuruntime/<name>.hpp and
# the names that it exports, cmake/exports/<group>.txt.
macro(kvgpu_family_group group)
    cmake_parse_arguments(group "" "" "HEADERS;SOURCES" ${ARGN})
    list(APPEND known_families ${group})
    if("all" IN_LIST KVGPU_FAMILIES OR ${group} IN_LIST KVGPU_FAMILIES)
        list(APPEND chosen_families ${group})
        list(APPEND family_sources ${group_SOURCES})
        foreach(unit IN LISTS group_SOURCES)
            string(APPEND units_by_group "${group} ${unit}\n")
        endforeach()
        foreach(header IN LISTS group_HEADERS)
            list(APPEND public_headers include/gpuruntime/${header}.hpp)
        endforeach()
        list(APPEND export_lists ${PROJECT_SOURCE_DIR}/cmake/exports/${group}.txt)
    endif()
endmacro()

# kvgpu_check_families(): to be called after the last group; fails where a group was asked for that there is not.
macro(kvgpu_check_families)
    list(REMOVE_DUPLICATES public_headers)  # groups may share one
    foreach(group IN LISTS KVGPU_FAMILIES)
        if(NOT group STREQUAL all AND NOT group IN_LIST known_families)
            message(FATAL_ERROR "KVGPU_FAMILIES: there is no group \"${group}\"; there are: ${known_families}")
        endif()
    endforeach()
endmacro()

# kvgpu_has_families(<variable> <group>...): whether the build holds all of these groups.
function(kvgpu_has_families variable)
    set(${variable} TRUE PARENT_SCOPE)
    foreach(group IN LISTS ARGN)
        if(NOT group IN_LIST known_families)
            message(FATAL_ERROR "there is no family group \"${group}\"")
        endif()
        if(NOT group IN_LIST chosen_families)
            set(${variable} FALSE PARENT_SCOPE)
        endif()
    endforeach()
endfunction()
