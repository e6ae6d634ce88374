#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

/// A column-major array of any rank with its dimensions in a new order. Elements are moved bit for bit.
///
/// `order[d]` is the 1-based input dimension that becomes output dimension d, and `outSizes[d]` its extent.
/// It may exceed `numInDims` where the output's extent is 1. `numOrder` is `numOutDims`. `outSizes`,
/// `inSizes` and `order` are host memory, read before the call returns; `out` must not overlap `in`.
///
/// Dimensions of extent 1 cost nothing. At most 32 others can be told to the device: with more, nothing is
/// written and `cudaErrorInvalidValue` stays with the runtime, as does the failure of a copy of the tables.
/// An array without elements launches nothing, and one of a single element is copied. An array holds fewer
/// than 2^32 elements.
///
/// The extents go through constant tables of which the process has one set: calls must not overlap on several
/// streams, and as the tables are copied from the call's own memory, a call cannot be captured in a graph.
///
/// Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, and all complex types.
///
/// Example: `inSizes` 1, 2, 3, `order` 3, 2, 1, `outSizes` 3, 2, 1, `in` 1, 2, 3, 4, 5, 6 gives 1, 3, 5, 2,
/// 4, 6.
struct Permute {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, unsigned long numOutDims, unsigned long const* outSizes,
                        T const* in, unsigned long numInDims, unsigned long const* inSizes,
                        unsigned long numOrder, unsigned long const* order) const;
    };
};

/// Emits the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Permute*);

}  // namespace gpuruntime
