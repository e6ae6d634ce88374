# The fibers device, for tests alone: the headers of the cuda device, compiled by the host's compiler. Each thread of
# a block runs as a fiber, and the accesses of kernels to memory are checked.

find_package(TBB REQUIRED)
find_package(Boost REQUIRED COMPONENTS context)

include(cmake/host_runtime.cmake)

set(kvgpuruntime_backend_sources ${host_runtime_sources}
    backend/fibers/accesses.cpp
    backend/fibers/block.cpp
    backend/fibers/device_language.cpp
    backend/fibers/order.cpp
    backend/fibers/reports.cpp
)

# Before the folder of the host's runtime stand those that have headers of the same names.
add_library(kvgpuruntime_device INTERFACE)
target_include_directories(kvgpuruntime_device INTERFACE
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/backend/fibers ${PROJECT_SOURCE_DIR}/backend/cuda
    ${PROJECT_SOURCE_DIR}/backend/runtime ${PROJECT_SOURCE_DIR})
# Thrust runs its algorithms one after another on the calling thread.
target_compile_definitions(kvgpuruntime_device INTERFACE THRUST_DEVICE_SYSTEM=THRUST_DEVICE_SYSTEM_CPP)
target_compile_options(kvgpuruntime_device INTERFACE
    -march=x86-64-v3 -ffp-contract=off -fno-math-errno -fvisibility-inlines-hidden -Wall -Wextra -Wno-unknown-pragmas -Wno-maybe-uninitialized)
target_link_libraries(kvgpuruntime_device INTERFACE TBB::tbb Boost::context ${CMAKE_DL_LIBS})

# The compiler's half of a race detector, whose other half is backend/fibers/accesses.cpp; it is not for the
# backend itself.
set(kvgpuruntime_kernel_options -fsanitize=thread
    --param=tsan-distinguish-volatile=1 --param=tsan-instrument-func-entry-exit=0)
set_source_files_properties(${kvgpuruntime_backend_sources} PROPERTIES COMPILE_OPTIONS "-fno-sanitize=thread;-O2")

# Units are compiled as what they are, C++.
function(kvgpu_device_language)
endfunction()
