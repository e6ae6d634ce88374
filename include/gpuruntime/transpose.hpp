#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

/// The transpose of a matrix: element (r, c) of the `rows` by `cols` input becomes element (c, r) of the
/// `cols` by `rows` output. Elements are moved bit for bit.
///
/// `out` equal to `in` transposes in place, which is for square matrices and vectors only: a matrix with
/// different extents above 1 comes out as garbage. Any other overlap is an error of the caller's. A matrix
/// without elements launches nothing. A matrix holds fewer than 2^32 elements.
///
/// Types: `bool`, the eight integer types of 1 to 8 bytes, `float`, `double`, and all complex types. No
/// state: calls may run side by side on several streams.
///
/// Example: `rows` 2, `cols` 3, `in` 1, 2, 3, 4, 5, 6 gives 1, 3, 5, 2, 4, 6.
struct Transpose {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* in, unsigned long rows,
                        unsigned long cols) const;
    };
};

/// The conjugate transpose: as `Transpose`, with the second part of each complex element negated; the
/// transpose itself for other types.
///
/// Negation flips the sign of a floating part, also that of zero and NaN, and wraps an integer part at its
/// width: the smallest negative value stays, and unsigned parts are negated like the others, so that 1 in a
/// `uchar2` becomes 255. In place, each element of a square or a vector is conjugated exactly once.
///
/// Example: `float2`, `rows` 1, `cols` 3, `in` (1, 2), (3, 0), (5, -6) gives (1, -2), (3, -0), (5, 6).
struct CTranspose {
    template <class T>
    struct Invoker {
        void operator()(CUstream_st* stream, T* out, T const* in, unsigned long rows,
                        unsigned long cols) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Transpose*);
void _forceInstantiation_(detail::Opaque&, CTranspose*);

}  // namespace gpuruntime
