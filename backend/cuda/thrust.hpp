#pragma once

#include <thrust/execution_policy.h>
#include <thrust/iterator/zip_iterator.h>
#include <thrust/partition.h>
#include <thrust/sort.h>
#include <thrust/system/detail/bad_alloc.h>
#include <thrust/transform.h>
#include <thrust/tuple.h>

/// Thrust on this device's memory. It throws `thrust::system::detail::bad_alloc` where there is no temporary
/// memory and `thrust::system::system_error` where a launch fails.
namespace gpuruntime::backend {

/// The policy under which the families call Thrust: the default stream, and temporary memory for the call
/// only.
inline auto thrustPolicy() { return thrust::device; }

}  // namespace gpuruntime::backend
