# The cuda device: the same units, compiled by nvcc.

set(CMAKE_CUDA_ARCHITECTURES 90 CACHE STRING "Architectures to build machine code for")
enable_language(CUDA)
find_package(CUDAToolkit REQUIRED)
set(CMAKE_CUDA_STANDARD 17)
set(CMAKE_CUDA_EXTENSIONS OFF)
# Shared, so that the library and the program that uses it read one last error.
set(CMAKE_CUDA_RUNTIME_LIBRARY Shared)
set(CMAKE_BUILD_RPATH ${CUDAToolkit_LIBRARY_DIR})

set(kvgpuruntime_backend_sources)
set(kvgpuruntime_runtime_headers)
set(kvgpuruntime_runtime_exports)

add_library(kvgpuruntime_device INTERFACE)
target_include_directories(kvgpuruntime_device INTERFACE
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/backend/cuda ${PROJECT_SOURCE_DIR})
# Every fused operation is written as one, so that both devices round alike. Compressed for size, device code takes a
# fifteenth of what the default leaves of it. What ptxas tells of kernels is kept for scripts/build_report.
target_compile_options(kvgpuruntime_device INTERFACE
    $<$<COMPILE_LANGUAGE:CUDA>:-fmad=false --expt-relaxed-constexpr --compress-mode=size -Xptxas=-v>
    $<$<COMPILE_LANGUAGE:CUDA>:-Xcompiler=-ffp-contract=off,-fvisibility-inlines-hidden,-Wall,-Wextra>
    $<$<COMPILE_LANGUAGE:CXX>:-ffp-contract=off -fvisibility-inlines-hidden -Wall -Wextra>)
target_link_libraries(kvgpuruntime_device INTERFACE CUDA::cudart)

function(kvgpu_device_language)
    set_source_files_properties(${ARGN} PROPERTIES LANGUAGE CUDA)
endfunction()

# What a user of `target` needs of the device: the toolkit's runtime, headers and library.
set(kvgpuruntime_pc_cflags "-I${CUDAToolkit_TARGET_DIR}/include")
set(kvgpuruntime_pc_libs "-L${CUDAToolkit_LIBRARY_DIR} -lcudart")
function(kvgpu_device_interface target)
    target_link_libraries(${target} PUBLIC CUDA::cudart)
endfunction()
