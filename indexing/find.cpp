#include <gpuruntime/find.hpp>

#include "conversion.hpp"
#include "frame/complex.hpp"
#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"

namespace gpuruntime {
namespace {

// --- Kernels. Integers are zero if their bits are, so all of a size share one. ---

template <class T>
using Tested = std::conditional_t<std::is_floating_point_v<internal::Part<T>>, T, internal::Carrier<T>>;

template <class T>
GPU_DEVICE bool isNonZero(T value) {
    if constexpr (internal::isComplex<T>) {
        return (value.x != 0) | (value.y != 0);
    } else {
        return value != 0;
    }
}

/// The places in the output of a row's elements, one for each thread; `noPlace` for those that have none.
using Places = backend::PerThread<unsigned int, internal::MAX_THREADS_PER_BLOCK>;
constexpr unsigned int noPlace = ~0u;

/// What is wanted of all elements that are not zero; `total` is their number.
struct Wanted {
    unsigned int limit, total;
};

GPU_DEVICE Wanted wantedOf(unsigned int limit, double const* scan, unsigned int n) {
    return {limit, internal::storedAs<unsigned int>(scan[n - 1])};
}

template <bool first>
GPU_DEVICE unsigned int placeOf(unsigned int count, Wanted wanted) {
    if (first) return count > wanted.limit ? noPlace : count - (count != 0);
    return count <= wanted.total - wanted.limit ? noPlace : wanted.limit - 1 - wanted.total + count;
}

/// Of the elements of the row, the first of which is at `in` and `scan`.
template <bool first, class T>
GPU_ROW Places placesOf(backend::Row row, T const* in, double const* scan, Wanted wanted) {
    Places places;
    row.forEachThread([&](unsigned int t, unsigned long x) {
        unsigned int const place = placeOf<first>(internal::storedAs<unsigned int>(scan[x]), wanted);
        places[t] = isNonZero(in[x]) ? place : noPlace;
    });
    return places;
}

template <class T, bool first>
struct Find1DKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, double* positions,
                                 T const* in, double const* scan, unsigned int limit) {
        backend::Row const row = block.row();
        Places places = placesOf<first>(row, in, scan, wantedOf(limit, scan, block.n));
        row.forEachThread([&](unsigned int t, unsigned long x) {
            unsigned int const place = places[t];
            backend::storeIf(place != noPlace, positions + place,
                             backend::fromUint32(static_cast<unsigned int>(x)) + 1);
        });
    }
};

/// Calls `store(isFound, place, x, y, e)` for the block's elements `e`.
template <bool first, class T, class Store>
GPU_DEVICE void find(elementwise2ddetail::BlockOfRows const& block, T const* in, double const* scan,
                     unsigned int limit, Store store) {
    Wanted const wanted = wantedOf(limit, scan, block.nx * block.ny);
    block.forEachRow([&](backend::Row row, unsigned int y) {
        unsigned int const e = y * block.nx;
        Places places = placesOf<first>(row, in + e, scan + e, wanted);
        row.forEachThread([&](unsigned int t, unsigned long x) {
            unsigned int const place = places[t];
            store(place != noPlace, place, backend::fromUint32(static_cast<unsigned int>(x)) + 1,
                  backend::fromUint32(y) + 1, e + x);
        });
    });
}

template <class T, bool first>
struct Find2DDevice {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, double* rowPositions,
                                 double* columnPositions, T const* in, double const* scan,
                                 unsigned int limit) {
        find<first>(block, in, scan, limit,
                    [=](bool isFound, unsigned int place, double row, double column, unsigned long) {
                        backend::storeIf(isFound, rowPositions + place, row);
                        backend::storeIf(isFound, columnPositions + place, column);
                    });
    }
};

template <class T, bool first>
struct Find2DWithValueDevice {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, double* rowPositions,
                                 double* columnPositions, T* values, T const* in, double const* scan,
                                 unsigned int limit) {
        find<first>(block, in, scan, limit,
                    [=](bool isFound, unsigned int place, double row, double column, unsigned long e) {
                        backend::storeIf(isFound, rowPositions + place, row);
                        backend::storeIf(isFound, columnPositions + place, column);
                        backend::storeIf(isFound, values + place, in[e]);
                    });
    }
};

struct FindSparse1DHelperKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, double* positions,
                                 int const* rowIndices, int const* colIndices, unsigned int numRows) {
        block.store(positions, 0, block.n, [=](unsigned int i) {
            return backend::fromUint32(static_cast<unsigned int>(colIndices[i]) * numRows +
                                       static_cast<unsigned int>(rowIndices[i]) + 1);
        });
    }
};

struct FindSparse2DHelperKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, double* rowPositions,
                                 double* columnPositions, int const* rowIndices, int const* colIndices) {
        // The sum wraps, as it does on the device.
        auto const next = [](int index) { return static_cast<int>(static_cast<unsigned int>(index) + 1); };
        block.store(rowPositions, 0, block.n, [=](unsigned int i) { return double(next(rowIndices[i])); });
        block.store(columnPositions, 0, block.n, [=](unsigned int i) { return double(next(colIndices[i])); });
    }
};

// --- One body for all types whose zero is told alike. ---

template <class T>
__attribute__((noinline)) int find1D(CUstream_st* stream, double* positions, T const* in, double const* scan,
                                     unsigned long limit, unsigned long n, FindFirstLast mode) {
    if (n == 0) return mode;
    switch (mode) {
        case FindFirst:
            return elementwisedetail::launch<Find1DKernel<T, true>>(stream, n, positions, in, scan, limit);
        case FindLast:
            return elementwisedetail::launch<Find1DKernel<T, false>>(stream, n, positions, in, scan, limit);
    }
    return mode;
}

/// `arguments` are those of the kernel.
template <template <class, bool> class Kernel, class T, class... Arguments>
__attribute__((noinline)) void find2D(CUstream_st* stream, unsigned long numRows, unsigned long numCols,
                                      FindFirstLast mode, Arguments... arguments) {
    if (numRows == 0 || numCols == 0) return;
    switch (mode) {
        case FindFirst:
            elementwise2ddetail::launch<Kernel<T, true>>(stream, numRows, numCols, arguments...);
            break;
        case FindLast:
            elementwise2ddetail::launch<Kernel<T, false>>(stream, numRows, numCols, arguments...);
            break;
    }
}

template <class T>
Tested<T>* tested(T* data) {
    return reinterpret_cast<Tested<T>*>(data);
}
template <class T>
Tested<T> const* tested(T const* data) {
    return reinterpret_cast<Tested<T> const*>(data);
}

}  // namespace

template <class T>
int Find1D::Invoker<T>::operator()(CUstream_st* stream, double* positions, T const* in, double const* scan,
                                   unsigned long limit, unsigned long n, FindFirstLast mode) const {
    return find1D(stream, positions, tested(in), scan, limit, n, mode);
}

template <class T>
void Find2D::Invoker<T>::operator()(CUstream_st* stream, double* rowPositions, double* columnPositions,
                                    T const* in, double const* scan, unsigned long limit,
                                    unsigned long numRows, unsigned long numCols, FindFirstLast mode) const {
    find2D<Find2DDevice, Tested<T>>(stream, numRows, numCols, mode, rowPositions, columnPositions, tested(in),
                                    scan, limit);
}

template <class T>
void Find2DWithValue::Invoker<T>::operator()(CUstream_st* stream, double* rowPositions,
                                             double* columnPositions, T* values, T const* in,
                                             double const* scan, unsigned long limit, unsigned long numRows,
                                             unsigned long numCols, FindFirstLast mode) const {
    find2D<Find2DWithValueDevice, Tested<T>>(stream, numRows, numCols, mode, rowPositions, columnPositions,
                                             tested(values), tested(in), scan, limit);
}

void FindSparse1DConvertCoordsHelper::Invoker::operator()(CUstream_st* stream, double* positions,
                                                          int const* rowIndices, int const* colIndices,
                                                          unsigned long nnz, unsigned long numRows) const {
    elementwisedetail::launch<FindSparse1DHelperKernel>(stream, nnz, positions, rowIndices, colIndices,
                                                        numRows);
}

void FindSparse2DRectifyCoordsHelper::Invoker::operator()(CUstream_st* stream, double* rowPositions,
                                                          double* columnPositions, int const* rowIndices,
                                                          int const* colIndices, unsigned long nnz) const {
    elementwisedetail::launch<FindSparse2DHelperKernel>(stream, nnz, rowPositions, columnPositions,
                                                        rowIndices, colIndices);
}

void _forceInstantiation_(detail::Opaque& opaque, Find1D*) {
    internal::instantiate<Find1D>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, Find2D*) {
    internal::instantiate<Find2D>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, Find2DWithValue*) {
    internal::instantiate<Find2DWithValue>(opaque, internal::All{});
}

}  // namespace gpuruntime
