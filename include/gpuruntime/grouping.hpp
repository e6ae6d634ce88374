#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

// Groups of values that are equal within a tolerance, in two steps: first values are cut where neighbours lie
// further apart than the tolerance, then each group is cut again so that all its elements lie within the
// tolerance of its first. What holds for both:
//
// - `data` is sorted in ascending order, NaN at the end. `tol` is absolute. A difference is taken in the
//   precision of `T`, and that of equal infinities, NaN, counts as within the tolerance.
// - `isGroupStart`, one for each element, is true at the first of each group. Each NaN is a group of its own.
// - Returns the runtime's status. No state: calls may run side by side on several streams.
// - Types: `float`, `double`.

/// Cuts between neighbours. `n` of 0 launches nothing.
///
/// Example: 0, 0.6, 1.2, 5 with a tolerance of 1 gives true, false, false, true.
struct FindGroupsUniquetol {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, unsigned long n, bool* isGroupStart, T const* data,
                             double tol) const;
    };
};

/// Cuts the groups that `FindGroupsUniquetol` has made, of which `groupStarts` has the 1-based positions of
/// the first elements, in ascending order. From the left, a group ends before the first element that is out
/// of tolerance of its first, and the next begins with it. Flags are only set. A group is gone over by one
/// thread. `numGroups` of 0 launches nothing.
///
/// Example: the group 0, 0.6, 1.2, 1.8, 2.4 with a tolerance of 1 becomes three, which start at 0, 1.2
/// and 2.4.
struct RefineGroupsUniquetol {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, unsigned long numGroups, unsigned long n,
                             bool* isGroupStart, double const* groupStarts, T const* data, double tol) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, FindGroupsUniquetol*);
void _forceInstantiation_(detail::Opaque&, RefineGroupsUniquetol*);

}  // namespace gpuruntime
