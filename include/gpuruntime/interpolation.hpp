#pragma once

#include <gpuruntime/interp_type.hpp>
#include <gpuruntime/types.hpp>

namespace gpuruntime {

// Values between the points of a grid. What holds for all:
//
// - `Invoker<G, V>`: coordinates are `float` or `double`; values are `float`, `double`, `float2` or
//   `double2`, whose parts are interpolated each for itself.
// - A full grid is a vector of coordinates, each above the one before; a colon grid is the implicit grid 1,
//   2, ... `gridSize`. Either has at least two points, for `Cubic` three. Nothing of that is checked.
// - `method` is used within the grid, `extrap` outside, `extrapValue` by it; see `InterpType`. A NaN
//   coordinate gives NaN, with the sign bit set, in both parts of complex values.
// - Linear: the value at a point is that point's, whatever its neighbours. Elsewhere, with t the way from the
//   lower point to the upper, it is low * (1 - t) + high * t; the first product is made in `double` and
//   rounded to the values' type, the second is added in one rounding, or, for `float` values with `double`
//   coordinates or on a colon grid, is made and rounded as the first.
// - Cubic: cubic convolution with the parameter -1/2 (Keys, 1981), for even grids: the distance of the first
//   two points stands for all. Beyond the edges a value is made such that the third difference is 0.
// - Results are queued on the stream. No state but where a family says so.

/// Values of a vector at `numQueries` coordinates, on a full grid. Queries in ascending order are the faster
/// ones.
///
/// With `Cubic`, of queries that follow each other beyond the same end within the run of one thread only the
/// first goes by `extrap`, the others are `extrapValue`. A run is of 7 queries where both types are `float`,
/// of 3 for `double2` values, else of 5, counted from the first query; a NaN does not end it.
///
/// Example: grid 1, 2, 4, values 10, 20, 40, `Linear` and `ExtrapValue` with -1: the queries 0, 1, 1.5, 4,
/// NaN give -1, 10, 15, 40, NaN.
struct Interp1dFull {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, G const* grid, V const* values, G const* query,
                        unsigned long gridSize, unsigned long numQueries, InterpType method,
                        InterpType extrap, V extrapValue) const;
    };
};

/// The same on a colon grid, where every query goes by `extrap` with `Cubic`, too.
struct Interp1d_ColonGrid {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, V const* values, G const* query, unsigned long gridSize,
                        unsigned long numQueries, InterpType method, InterpType extrap, V extrapValue) const;
    };
};

/// Values of the columns of a matrix, `numValues` / `gridSize` of them, at the same coordinates, whose `bins`
/// have been found by `IndexSearch`: `out` has `numQueries` rows. With `Cubic` every query outside goes by
/// `extrap`.
struct Interp1dNdValFull {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, G const* grid, V const* values, G const* query,
                        long const* bins, unsigned long const& numQueries, unsigned long const& gridSize,
                        unsigned long const& numValues, InterpType const& method, InterpType const& extrap,
                        V const& extrapValue) const;
    };
};

/// The same without a grid, not even that of colons: only queries that need none may be asked, which are NaN,
/// or outside and `extrap` is `Nearest` or `ExtrapValue`. Any other is a device fault.
struct Interp1dNdVal_ColonGrid {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, V const* values, G const* query, long const* bins,
                        unsigned long const& numQueries, unsigned long const& gridSize,
                        unsigned long const& numValues, InterpType const& method, InterpType const& extrap,
                        V const& extrapValue) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation2_(detail::Opaque&, Interp1dFull*);
void _forceInstantiation2_(detail::Opaque&, Interp1d_ColonGrid*);
void _forceInstantiation2_(detail::Opaque&, Interp1dNdValFull*);
void _forceInstantiation2_(detail::Opaque&, Interp1dNdVal_ColonGrid*);

}  // namespace gpuruntime
