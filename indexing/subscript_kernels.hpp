#pragma once

#include <type_traits>

#include "frame/elementwise.hpp"
#include "indexing/selection.hpp"

/// The elements that up to three slots select of a column-major array of `dim1` by `dim2` by any number, and
/// their places in the dense array of the selection, the frame's extents.
namespace gpuruntime::internal {

/// Calls `f(row, dense, origin, selection)` for each row of the block: the selected element `x` of a row is
/// at `dense` + `x` in the dense array, and at `origin` + `selection.at(x)` in the indexed one.
template <class I1, class F>
GPU_DEVICE void forEachSelectedRow(elementwisedetail::BlockOfElements const& block, F f, I1 slot1) {
    f(block.row(), 0u, 0u, selectionOf(slot1));
}

template <class I1, class I2, class F>
GPU_DEVICE void forEachSelectedRow(elementwise2ddetail::BlockOfRows const& block, F f, unsigned int dim1,
                                   I1 slot1, I2 slot2) {
    auto const first = selectionOf(slot1);
    auto const second = selectionOf(slot2);
    block.forEachRow([&](backend::Row row, unsigned int y)
                         GPU_INLINE { f(row, block.nx * y, dim1 * second.at(y), first); });
}

template <class I1, class I2, class I3, class F>
GPU_DEVICE void forEachSelectedRow(elementwise3ddetail::BlockOfRows const& block, F f, unsigned int dim1,
                                   I1 slot1, unsigned int dim2, I2 slot2, I3 slot3) {
    auto const first = selectionOf(slot1);
    auto const second = selectionOf(slot2);
    auto const third = selectionOf(slot3);
    block.forEachRow([&](backend::Row row, unsigned int y, unsigned int z) GPU_INLINE {
        f(row, block.nx * (y + block.ny * z), dim1 * (second.at(y) + dim2 * third.at(z)), first);
    });
}

/// The arguments of the three operators from `dim1` on.
template <class S1, class S2, class S3>
struct Slots {
    unsigned long dim1, count1;
    S1 slot1;
    unsigned long dim2, count2;
    S2 slot2;
    unsigned long count3;
    S3 slot3;
};

/// Launches the kernel for the slots that there are, over the selection. `Kernels` names the kernels by their
/// slots; `source` is what is read, or the value to write.
template <class Kernels, class T, class Source, class S1>
void launchSelection(CUstream_st* stream, unsigned long numel, T* out, Source source,
                     Slots<S1, void*, void*> const& slots) {
    elementwisedetail::launch<typename Kernels::template Rank1<S1>>(stream, numel, out, source, slots.slot1);
}

template <class Kernels, class T, class Source, class S1, class S2>
void launchSelection(CUstream_st* stream, unsigned long /*numel*/, T* out, Source source,
                     Slots<S1, S2, void*> const& slots) {
    if (slots.count1 == 0 || slots.count2 == 0) return;
    elementwise2ddetail::launch<typename Kernels::template Rank2<S1, S2>>(
        stream, slots.count1, slots.count2, out, source, slots.dim1, slots.slot1, slots.slot2);
}

template <class Kernels, class T, class Source, class S1, class S2, class S3>
void launchSelection(CUstream_st* stream, unsigned long /*numel*/, T* out, Source source,
                     Slots<S1, S2, S3> const& slots) {
    if (slots.count1 == 0 || slots.count2 == 0 || slots.count3 == 0) return;
    elementwise3ddetail::launch<typename Kernels::template Rank3<S1, S2, S3>>(
        stream, slots.count1, slots.count2, slots.count3, out, source, slots.dim1, slots.slot1, slots.dim2,
        slots.slot2, slots.slot3);
}

}  // namespace gpuruntime::internal
