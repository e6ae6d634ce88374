# The host device: a plain CPU, blocks in parallel through oneTBB.

find_package(TBB REQUIRED)
find_package(hwy REQUIRED)

include(cmake/host_runtime.cmake)

set(kvgpuruntime_backend_sources ${host_runtime_sources} backend/host/blocks.cpp backend/host/copies.cpp backend/host/sort.cpp)

add_library(kvgpuruntime_device INTERFACE)
target_include_directories(kvgpuruntime_device INTERFACE
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/backend/host ${PROJECT_SOURCE_DIR}/backend/runtime
    ${PROJECT_SOURCE_DIR})
# Every fused operation is written as one, so that both devices round alike. Nobody reads floating-point exception flags
# or errno: without that freedom hardly a loop over phases vectorises; no value depends on it. Nor do selects vectorise well
# once jump threading has cut them into branches, and loops over a tile must stay as they are: most are far too short for
# a string instruction or a call of memcpy, one loop for each part of a complex value would read the memory twice, and two
# rows at a time come slower from memory than one after the other. Inside the library no call can be replaced from
# outside, so the compiler may inline across functions.
target_compile_options(kvgpuruntime_device INTERFACE
    -march=x86-64-v3 -ffp-contract=off -fno-trapping-math -fno-math-errno
    -fno-thread-jumps -fno-tree-loop-distribution -fno-tree-loop-distribute-patterns -fno-loop-unroll-and-jam
    -fno-semantic-interposition -fvisibility-inlines-hidden -Wall -Wextra)
# Where a reduction takes several values after one another, partial redundancy elimination cuts their selects into branches.
file(GLOB reduction_units CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/reduction/*.cpp)
set_source_files_properties(${reduction_units} PROPERTIES COMPILE_OPTIONS -fno-tree-pre)
target_link_libraries(kvgpuruntime_device INTERFACE TBB::tbb hwy::hwy_contrib)

if(KVGPU_SANITIZE)
    set(sanitizer_flags -fsanitize=${KVGPU_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_compile_options(${sanitizer_flags})
    add_link_options(${sanitizer_flags})
endif()

# Units are compiled as what they are, C++.
function(kvgpu_device_language)
endfunction()
