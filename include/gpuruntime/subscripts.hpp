#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

// A selection of a column-major array: the positions of each dimension are told by a slot, whose type is a
// template argument of the family.
//
// - `double const*`: a device vector of 1-based indices, one for each selected position. An index is
//   truncated toward zero, so that 2.9 selects the second element.
// - `double2`, by value: the progression that begins at the 1-based `x` and goes on by `y`, both truncated
//   toward zero first; `y` may be negative or 0. A colon is the progression (1, 1).
// - `void*`: the dimension is absent, and its slot and extents are not read.
//
// The first slot is never absent, the third only present where the second is. One slot alone indexes the
// whole array as a vector. A last slot may run over any number of trailing dimensions, which the caller folds
// into one.
//
// No index is checked: one that is 0, negative, NaN or past the end reads or writes outside the array.
// Offsets are unsigned 32-bit and wrap.
//
// What the operators take: `numel` is the number of selected elements, read with one slot alone, where it
// stands for the counts; `count1` to `count3` are the numbers of selected positions, `dim1` and `dim2` the
// extents of the indexed array; `dim3` is never read. A count of 0 launches nothing.
//
// Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, and all complex types; elements
// are moved bit for bit. Slots: all 14 combinations. No state: calls may run side by side on several streams.

/// Reads a selection: `out` is the dense array of the selected elements of `in`, of `count1` by `count2` by
/// `count3`.
///
/// Example: `in` the 3 by 2 matrix 1, 2, 3, 4, 5, 6, rows `double const*` (3, 1), columns `double2` (2, -1),
/// two of each: 6, 4, 3, 1.
template <class S1, class S2, class S3>
struct Subsref3D {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long numel, T* out, T const* in, unsigned long dim1,
                        unsigned long count1, S1 slot1, unsigned long dim2, unsigned long count2, S2 slot2,
                        unsigned long dim3, unsigned long count3, S3 slot3) const;
    };
};

/// Writes a selection: the selected elements of `out` become those of the dense array `in`; the others stay.
/// Where an index is repeated, one of its values stays, and which is not determined.
///
/// Example: `out` six zeros as a 3 by 2 matrix, rows `double const*` (3, 1), columns `double2` (2, -1), `in`
/// 6, 4, 3, 1 gives 1, 0, 3, 4, 0, 6.
template <class S1, class S2, class S3>
struct Subsasgn3D {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long numel, T* out, T const* in, unsigned long dim1,
                        unsigned long count1, S1 slot1, unsigned long dim2, unsigned long count2, S2 slot2,
                        unsigned long dim3, unsigned long count3, S3 slot3) const;
    };
};

/// Writes `value` to every selected element of `out`; the others stay.
///
/// Example: `out` six zeros, one slot `double2` (2, 2), `numel` 3, `value` 7 gives 0, 7, 0, 7, 0, 7.
template <class S1, class S2, class S3>
struct SubsasgnScalar3D {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, unsigned long numel, T* out, T value, unsigned long dim1,
                        unsigned long count1, S1 slot1, unsigned long dim2, unsigned long count2, S2 slot2,
                        unsigned long dim3, unsigned long count3, S3 slot3) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Subsref3D<double const*, void*, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double const*, double const*, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double const*, double2, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double const*, double const*, double const*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double const*, double const*, double2>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double const*, double2, double const*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double const*, double2, double2>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double2, void*, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double2, double const*, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double2, double2, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double2, double const*, double const*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double2, double const*, double2>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double2, double2, double const*>*);
void _forceInstantiation_(detail::Opaque&, Subsref3D<double2, double2, double2>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double const*, void*, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double const*, double const*, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double const*, double2, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double const*, double const*, double const*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double const*, double const*, double2>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double const*, double2, double const*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double const*, double2, double2>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double2, void*, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double2, double const*, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double2, double2, void*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double2, double const*, double const*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double2, double const*, double2>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double2, double2, double const*>*);
void _forceInstantiation_(detail::Opaque&, Subsasgn3D<double2, double2, double2>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double const*, void*, void*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double const*, double const*, void*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double const*, double2, void*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double const*, double const*, double const*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double const*, double const*, double2>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double const*, double2, double const*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double const*, double2, double2>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double2, void*, void*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double2, double const*, void*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double2, double2, void*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double2, double const*, double const*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double2, double const*, double2>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double2, double2, double const*>*);
void _forceInstantiation_(detail::Opaque&, SubsasgnScalar3D<double2, double2, double2>*);

}  // namespace gpuruntime
