# The stand-in for the CUDA runtime, for the devices that run on a CPU.

set(host_runtime_sources
    backend/runtime/control.cpp
    backend/runtime/device.cpp
    backend/runtime/launch.cpp
    backend/runtime/memory.cpp
    backend/runtime/texture.cpp
)

# The part of the runtime's interface that it stands in for, under the runtime's own header names, and its control.
set(kvgpuruntime_runtime_headers
    backend/runtime/cuda_runtime.h
    backend/runtime/cuda_runtime_api.h
    backend/runtime/driver_types.h
    backend/runtime/host_device.hpp
    backend/runtime/vector_functions.h
    backend/runtime/vector_types.h
)
set(kvgpuruntime_runtime_exports ${PROJECT_SOURCE_DIR}/cmake/exports/host_runtime.txt)

# What a user of `target` needs of the device: the runtime's headers, which the library brings itself.
set(kvgpuruntime_pc_cflags -I\${includedir}/kvgpuruntime-host)
set(kvgpuruntime_pc_libs)
function(kvgpu_device_interface target)
    target_include_directories(${target} INTERFACE
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/backend/runtime>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kvgpuruntime-host>)
endfunction()
