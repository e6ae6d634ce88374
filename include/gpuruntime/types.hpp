#pragma once

#include <cuda_runtime_api.h>
#include <vector_types.h>

namespace gpuruntime {

/// Complex values are the runtime's two-component vectors, real part in `x`, imaginary part in `y`:
/// `float2` and `double2`, and the complex integers `char2` to `ulong2`. Arrays are column-major.
///
/// What holds for every family:
/// - An operator queues its work on the caller's stream and returns at once, unless its family says
///   otherwise.
/// - Array pointers are device memory, owned by the caller and kept alive until the stream has passed the
///   work.
/// - No argument is checked. A count of 2^32 or more is seen modulo 2^32. An array pointer that the device
///   cannot reach is a device fault: on a GPU an error of a later call, on the host device an access fault of
///   the process.
/// - Operators that return nothing leave a failed launch to the caller's `cudaGetLastError`.
namespace detail {

/// An empty tag, seen only by reference in the signatures of the instantiation functions.
struct Opaque {};

}  // namespace detail
}  // namespace gpuruntime
