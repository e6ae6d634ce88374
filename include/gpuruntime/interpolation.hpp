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
/// or outside and `extrap` is `Nearest` or `ExtrapValue`. Any other is a device fault: on a GPU an error of a
/// later call, on the host device the launch fails with `cudaErrorIllegalAddress`.
struct Interp1dNdVal_ColonGrid {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, V const* values, G const* query, long const* bins,
                        unsigned long const& numQueries, unsigned long const& gridSize,
                        unsigned long const& numValues, InterpType const& method, InterpType const& extrap,
                        V const& extrapValue) const;
    };
};

// Of more dimensions than one, what holds for all:
//
// - Dimension 0 is the fastest in arrays of values and of results. `gridSizes` and `querySizes` are host
//   memory, as are the arrays of pointers of `Interpnd`; the counts `numGridDims` and `numQueryDims` are not
//   read unless that is told.
// - A compact query is a vector of coordinates for each dimension, whose product is asked for; `bins` has
//   what `IndexSearch` has found for each vector, one after another, each in a section of its size rounded up
//   to a multiple of 16, or 16 for size 0. A non-compact query is one coordinate of each dimension for each
//   of `numQueries` results.
// - Values are blended along dimension 0 first. Each dimension goes by `method` or `extrap` for itself, so
//   that the last one outside its grid, or NaN, decides.

/// Values of a matrix on the product of two vectors of coordinates.
///
/// With `Cubic` a point that is outside in either dimension is `extrapValue`, whatever `extrap` says.
struct Interp2d_CompactQuery {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, G const* gridX, G const* gridY, V const* values,
                        G const* queryX, G const* queryY, long const* bins, unsigned long const* querySizes,
                        unsigned long numQueryDims, unsigned long const* gridSizes, unsigned long numGridDims,
                        V const& extrapValue, InterpType const& method, InterpType const& extrap) const;
    };
};

/// The same on colon grids.
struct Interp2d_CompactQuery_ColonGrid {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, V const* values, G const* queryX, G const* queryY,
                        long const* bins, unsigned long const* querySizes, unsigned long numQueryDims,
                        unsigned long const* gridSizes, unsigned long numGridDims, V const& extrapValue,
                        InterpType const& method, InterpType const& extrap) const;
    };
};

/// Values of a matrix at points.
struct Interp2d_NonCompactQuery {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, G const* gridX, G const* gridY, V const* values,
                        G const* queryX, G const* queryY, unsigned long const* gridSizes,
                        unsigned long numGridDims, unsigned long const& numQueries, V const& extrapValue,
                        InterpType const& method, InterpType const& extrap) const;
    };
};

/// The same on colon grids.
struct Interp2d_NonCompactQuery_ColonGrid {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, V const* values, G const* queryX, G const* queryY,
                        unsigned long const* gridSizes, unsigned long numGridDims,
                        unsigned long const& numQueries, V const& extrapValue, InterpType const& method,
                        InterpType const& extrap) const;
    };
};

// Of three dimensions and more there is no cubic method: it yields 0 within the grid. Sizes are copied to
// constant memory on the stream: of calls on several streams one can see another's. If that fails, a line of
// standard output says so, and nothing is launched:
//
// - "Interp3d compact query kernel failed to copy valueSz to constant memory"
// - "Interp3d Noncompact query kernel failed to copy valueSz to constant memory"
// - "Interpnd compact query kernel failed to copy querySz to constant memory"
// - "Interpnd compact query kernel failed to copy valueSz to constant memory"
// - "Interpnd Noncompact query kernel failed to copy valueSz to constant memory"

/// Values of an array of three dimensions on the product of three vectors of coordinates.
struct Interp3d_CompactQuery {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, G const* gridX, G const* gridY, G const* gridZ,
                        V const* values, G const* queryX, G const* queryY, G const* queryZ, long const* bins,
                        unsigned long const* querySizes, unsigned long numQueryDims,
                        unsigned long const* gridSizes, unsigned long numGridDims, V const& extrapValue,
                        InterpType const& method, InterpType const& extrap) const;
    };
};

/// The same on colon grids.
struct Interp3d_CompactQuery_ColonGrid {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, V const* values, G const* queryX, G const* queryY,
                        G const* queryZ, long const* bins, unsigned long const* querySizes,
                        unsigned long numQueryDims, unsigned long const* gridSizes, unsigned long numGridDims,
                        V const& extrapValue, InterpType const& method, InterpType const& extrap) const;
    };
};

/// Values of an array of three dimensions at points.
struct Interp3d_NonCompactQuery {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, G const* gridX, G const* gridY, G const* gridZ,
                        V const* values, G const* queryX, G const* queryY, G const* queryZ,
                        unsigned long const* gridSizes, unsigned long numGridDims,
                        unsigned long const& numQueries, V const& extrapValue, InterpType const& method,
                        InterpType const& extrap) const;
    };
};

/// The same on colon grids.
struct Interp3d_NonCompactQuery_ColonGrid {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, V const* values, G const* queryX, G const* queryY,
                        G const* queryZ, unsigned long const* gridSizes, unsigned long numGridDims,
                        unsigned long const& numQueries, V const& extrapValue, InterpType const& method,
                        InterpType const& extrap) const;
    };
};

/// Values of an array of up to five dimensions on the product of vectors of coordinates.
///
/// Of two and three dimensions this is `Interp2d` or `Interp3d`, of one `Interp1dFull`, which searches by
/// itself, with as many queries as the product of the `numQueryDims` sizes. Above three, `grids` and
/// `queries` have five entries each.
struct Interpnd_CompactQuery {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, G const** grids, V const* values, G const** queries,
                        long const* bins, unsigned long const* querySizes, unsigned long numQueryDims,
                        unsigned long const* gridSizes, unsigned long numGridDims, V const& extrapValue,
                        InterpType const& method, InterpType const& extrap,
                        unsigned long const& numDims) const;
    };
};

/// The same on colon grids.
struct Interpnd_CompactQuery_ColonGrid {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, V const* values, G const** queries, long const* bins,
                        unsigned long const* querySizes, unsigned long numQueryDims,
                        unsigned long const* gridSizes, unsigned long numGridDims, V const& extrapValue,
                        InterpType const& method, InterpType const& extrap,
                        unsigned long const& numDims) const;
    };
};

/// Values of an array of up to five dimensions at points; as `Interpnd_CompactQuery` up to three.
struct Interpnd_NonCompactQuery {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, G const** grids, V const* values, G const** queries,
                        unsigned long const* gridSizes, unsigned long numGridDims,
                        unsigned long const& numQueries, V const& extrapValue, InterpType const& method,
                        InterpType const& extrap, unsigned long const& numDims) const;
    };
};

/// The same on colon grids.
struct Interpnd_NonCompactQuery_ColonGrid {
    template <class G, class V>
    struct Invoker {
        void operator()(CUstream_st* stream, V* out, V const* values, G const** queries,
                        unsigned long const* gridSizes, unsigned long numGridDims,
                        unsigned long const& numQueries, V const& extrapValue, InterpType const& method,
                        InterpType const& extrap, unsigned long const& numDims) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation2_(detail::Opaque&, Interp1dFull*);
void _forceInstantiation2_(detail::Opaque&, Interp1d_ColonGrid*);
void _forceInstantiation2_(detail::Opaque&, Interp1dNdValFull*);
void _forceInstantiation2_(detail::Opaque&, Interp1dNdVal_ColonGrid*);
void _forceInstantiation2_(detail::Opaque&, Interp2d_CompactQuery*);
void _forceInstantiation2_(detail::Opaque&, Interp2d_CompactQuery_ColonGrid*);
void _forceInstantiation2_(detail::Opaque&, Interp2d_NonCompactQuery*);
void _forceInstantiation2_(detail::Opaque&, Interp2d_NonCompactQuery_ColonGrid*);
void _forceInstantiation2_(detail::Opaque&, Interp3d_CompactQuery*);
void _forceInstantiation2_(detail::Opaque&, Interp3d_CompactQuery_ColonGrid*);
void _forceInstantiation2_(detail::Opaque&, Interp3d_NonCompactQuery*);
void _forceInstantiation2_(detail::Opaque&, Interp3d_NonCompactQuery_ColonGrid*);
void _forceInstantiation2_(detail::Opaque&, Interpnd_CompactQuery*);
void _forceInstantiation2_(detail::Opaque&, Interpnd_CompactQuery_ColonGrid*);
void _forceInstantiation2_(detail::Opaque&, Interpnd_NonCompactQuery*);
void _forceInstantiation2_(detail::Opaque&, Interpnd_NonCompactQuery_ColonGrid*);

}  // namespace gpuruntime
