#pragma once

#include <gpuruntime/types.hpp>

namespace gpuruntime {

/// Images resized by bicubic interpolation (Keys, 1981, with the parameter -1/2), with antialiasing where
/// they shrink.
///
/// - `Invoker<T>`: `T` is `float` or `double`.
/// - An image is `numPlanes` planes one after the other, each with its columns one after the other:
///   element (row, column) of plane p is at (p * columns + column) * rows + row. Rows are the first
///   dimension.
/// - `scaleRows` and `scaleCols` are the sizes of the output over those of the input. They are taken as
///   given, and must be such that 2 / scale is less than 2^24.
/// - Output position i is at u = (i + 0.5) / scale - 0.5 of the input, in `double`; beyond its edges the
///   input goes on with the values there.
/// - Where the scale of a dimension is at least 1, the four input positions around u count, by the cubic
///   of their distance; where it is less, those at less than 2 / scale, by the cubic of scale * distance.
///   Weights are `float` for both types, and so is the product of a row's and a column's.
/// - With both scales at least 1 an element is the sum of weight * value, over the columns and for each
///   over the rows, in ascending order and with every operation rounded. Otherwise weights of 0 are left
///   out, and the sum is divided by the sum of the weights.
/// - The input has at most as many elements as a texture of the device holds: 2^27, on newer GPUs 2^28.
/// - Returns the status of the first call of the runtime that fails. Without rows or columns of the
///   output nothing is launched.
/// - The input is read through the texture of its type, of which a process has one: calls of one
///   `Invoker` must not overlap, on whatever streams.
///
/// Example: the column 0, 4 with `scaleRows` 2, one column, gives -0.28125, 0.8125, 3.1875, 4.28125.
struct Imresize {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, T const* in, unsigned long inRows,
                             unsigned long inCols, unsigned long outRows, unsigned long outCols,
                             unsigned long numPlanes, double scaleRows, double scaleCols) const;
    };
};

/// Emits the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Imresize*);

}  // namespace gpuruntime

/// Binds the texture of `T`, `float` or `double`, to `count` elements from `data` on, in place of what it
/// was bound to. `*offset` becomes what has to be added to the index of an element to find it in the
/// texture. A call of `Imresize` binds and unbinds the texture itself.
template <class T>
cudaError bind(unsigned long* offset, T const* data, unsigned long count);

/// Unbinds the texture of `T`; without anything bound this does nothing.
template <class T>
cudaError unbind();

template <>
cudaError bind<float>(unsigned long* offset, float const* data, unsigned long count);
template <>
cudaError bind<double>(unsigned long* offset, double const* data, unsigned long count);
template <>
cudaError unbind<float>();
template <>
cudaError unbind<double>();
