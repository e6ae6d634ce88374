#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

// Whether the `numA` elements of `a` occur in a set of `setSize`, and where. What holds for all four:
//
// - `isMember[i]` says whether `a[i]` occurs; `locations[i]`, where there are locations, is that of the match
//   or 0. NaN occurs nowhere. Infinities match those of their sign, and the two zeros match each other.
// - The search runs on the default stream and takes temporary memory. Where there is none, or a launch fails
//   within it, the call throws what Thrust does, and leaves no memory allocated. Other launches that fail are
//   left to `cudaGetLastError`.
// - Without queries nothing is written; of an empty set nothing is a member.
// - No state: calls may run side by side.
//
// Real queries are `bool`, the integers of up to 32 bits, `float` or `double`; the set is of `double`, sorted
// in ascending order, with NaN at the end, as `SortVector` leaves it. A `tol` above 0 is an absolute
// tolerance; any other, NaN too, asks for equality.

/// Compares as `double`: with a tolerance, the first element s of the set that is not below `a[i]` - `tol`
/// matches unless `a[i]` is below s - `tol`. Takes no stream.
///
/// Example: the set 1, 1.5, 3: of the `int` queries 1, 2, 3 the first and the last are members.
struct IsMember1Arg {
    template <class T>
    struct Invoker {
        void operator()(T const* a, unsigned long numA, double const* set, unsigned long setSize,
                        bool* isMember, double tol) const;
    };
};

/// Looks at one element s of the set, the first that is not below `a[i]`, or `a[i]` - `tol`, as `double`. It
/// is converted to `T`: to `float` by rounding, to integers by truncation, held at the ends of their range,
/// and to `bool` by whether it is other than 0. It matches if it then equals `a[i]`, or its difference, in
/// `T` and of integers in 32 bits, which wrap, is at most `tol`. So the smallest element within the tolerance
/// is told, and of equal ones the first; an `int` 1 is found at 1.5 in a set without 1, and a `float` 0.1 is
/// not found at 0.1.
///
/// `setLocations` has what to tell of each element of the set: the indices of the same sort. The last step
/// runs on the stream.
///
/// Example: the set 1, 1.05 at locations 7, 4 and a tolerance of 0.1: the query 1.02 is found at 7.
struct IsMember2Arg {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T const* a, unsigned long numA, double const* set,
                        unsigned long setSize, double const* setLocations, bool* isMember, double* locations,
                        double tol) const;
    };
};

/// Complex queries, equal to an element of the set in both parts; the set is in any order. Queries and set
/// are `double2` whatever `T` says, which is the type that the caller has widened: `char2` to `uint2`,
/// `float2` or `double2`. Elements of one real part are gone over one by one, so a set of few real parts is
/// slow.
///
/// Example: the set 0-1i, 0+1i: the query 0+1i is a member.
struct IsMember1ArgCmplx {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, double2 const* a, unsigned long numA, double2 const* set,
                        unsigned long setSize, bool* isMember) const;
    };
};

/// `IsMember1ArgCmplx` with 1-based locations. Of several matches it is that of real part -0 rather than +0,
/// and then the first in the set.
///
/// Example: as above, at location 2.
struct IsMember2ArgCmplx {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, double2 const* a, unsigned long numA, double2 const* set,
                        unsigned long setSize, bool* isMember, double* locations) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, IsMember1Arg*);
void _forceInstantiation_(detail::Opaque&, IsMember2Arg*);
void _forceInstantiation_(detail::Opaque&, IsMember1ArgCmplx*);
void _forceInstantiation_(detail::Opaque&, IsMember2ArgCmplx*);

}  // namespace gpuruntime
