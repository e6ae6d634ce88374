#pragma once

#include <vector_types.h>

#include "frame/convert.hpp"
#include "frame/shape.hpp"
#include "rows.hpp"

/// Which positions of a dimension are selected, and rows of elements that move there or from there. Positions
/// and offsets are zero-based, unsigned 32-bit, and wrap.
namespace gpuruntime::internal {

/// The positions `first`, `first` + `step`, and so on.
struct Progression {
    unsigned int first, step;

    GPU_DEVICE unsigned int at(unsigned int i) const { return first + step * i; }
};

/// The positions that a vector of 1-based indices holds.
struct IndexVector {
    double const* indices;

    GPU_DEVICE unsigned int at(unsigned int i) const { return storedAs<unsigned int>(indices[i]) - 1; }
};

/// What a slot selects. Of a progression only the low 32 bits of each position count.
GPU_DEVICE Progression selectionOf(double2 slot) {
    if (areStoredAsInt<long>(slot.x, slot.y)) {  // nearly always, and far quicker to convert
        return {static_cast<unsigned int>(static_cast<int>(slot.x)) - 1,
                static_cast<unsigned int>(static_cast<int>(slot.y))};
    }
    return {static_cast<unsigned int>(storedAs<long>(slot.x)) - 1,
            static_cast<unsigned int>(storedAs<long>(slot.y))};
}
GPU_DEVICE IndexVector selectionOf(double const* slot) { return {slot}; }

/// The offsets of a row's selected elements, one for each thread.
using RowOffsets = backend::PerThread<unsigned int, MAX_THREADS_PER_BLOCK>;

GPU_ROW RowOffsets offsetsOf(backend::Row row, unsigned int origin, IndexVector selection) {
    RowOffsets offsets;
    row.forEachThread([&](unsigned int t, unsigned long x) {
        offsets[t] = origin - 1 + storedAs<unsigned int>(selection.indices[x]);
    });
    return offsets;
}

/// Whether the row's elements lie one behind another in the array, where position 0 is at `start`: no offset
/// up to the row's end wraps.
GPU_DEVICE bool isRun(backend::Row row, unsigned int start, unsigned int step) {
    return step == 1 && start + (row.begin() + row.size()) >= start;
}

// `out[x]` = `in[origin + selection.at(x)]`

template <class T>
GPU_ROW void gatherRow(backend::Row row, T* out, T const* in, unsigned int origin, Progression selection,
                       bool streamed) {
    unsigned int const start = origin + selection.first, step = selection.step;
    if (backend::rowsMayBeRuns && isRun(row, start, step)) {
        backend::copyRow(row, out, in + start, streamed);
    } else {
        backend::storeRow(row, out, streamed, [=](unsigned int, unsigned long x) {
            return in[start + step * static_cast<unsigned int>(x)];
        });
    }
}

template <class T>
GPU_ROW void gatherRow(backend::Row row, T* out, T const* in, unsigned int origin, IndexVector selection,
                       bool streamed) {
    RowOffsets offsets = offsetsOf(row, origin, selection);
    backend::storeRow(row, out, streamed, [&](unsigned int t, unsigned long) { return in[offsets[t]]; });
}

// `out[origin + selection.at(x)]` = `in[x]`, or one value for all.

/// Where the elements of a dense array come from.
template <class T>
GPU_DEVICE T elementAt(T const* in, unsigned long x) {
    return in[x];
}
template <class T>
GPU_DEVICE T elementAt(T value, unsigned long) {
    return value;
}

template <class T>
GPU_DEVICE void storeRun(backend::Row row, T* out, T const* in, bool streamed) {
    backend::copyRow(row, out, in, streamed);
}
template <class T>
GPU_DEVICE void storeRun(backend::Row row, T* out, T value, bool streamed) {
    backend::fillRow(row, out, value, streamed);
}

template <class T, class Source>
GPU_ROW void scatterRow(backend::Row row, T* out, Source source, unsigned int origin, Progression selection,
                        bool streamed) {
    unsigned int const start = origin + selection.first, step = selection.step;
    if (backend::rowsMayBeRuns && isRun(row, start, step)) {
        storeRun(row, out + start, source, streamed);
    } else {
        row.forEach([=](unsigned long x) {
            out[start + step * static_cast<unsigned int>(x)] = elementAt(source, x);
        });
    }
}

template <class T, class Source>
GPU_ROW void scatterRow(backend::Row row, T* out, Source source, unsigned int origin, IndexVector selection,
                        bool /*streamed*/) {
    RowOffsets offsets = offsetsOf(row, origin, selection);
    row.forEachThread([&](unsigned int t, unsigned long x) { out[offsets[t]] = elementAt(source, x); });
}

/// What a row of a selection does: reads, or writes from a dense array or a value. The element `x` of the row
/// is at `dense` + `x` and at `origin` + `selection.at(x)`.
template <class T>
struct GatherRow {
    T* out;
    T const* in;
    bool streamed;

    template <class Selection>
    GPU_DEVICE void operator()(backend::Row row, unsigned int dense, unsigned int origin,
                               Selection selection) const {
        gatherRow(row, out + dense, in, origin, selection, streamed);
    }
};

template <class T>
GPU_DEVICE T const* advanced(T const* in, unsigned int dense) {
    return in + dense;
}
template <class T>
GPU_DEVICE T advanced(T value, unsigned int) {
    return value;
}

template <class T, class Source>
struct ScatterRow {
    T* out;
    Source source;
    bool streamed;

    template <class Selection>
    GPU_DEVICE void operator()(backend::Row row, unsigned int dense, unsigned int origin,
                               Selection selection) const {
        scatterRow(row, out, advanced(source, dense), origin, selection, streamed);
    }
};

}  // namespace gpuruntime::internal
