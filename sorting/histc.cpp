#include <gpuruntime/histograms.hpp>

#include <algorithm>

#include "atomics.hpp"
#include "conversion.hpp"
#include "frame/fixed_block.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"
#include "rows.hpp"

namespace gpuruntime {
namespace {

/// Where counters or edges are while a block counts.
enum MemoryUsagePolicy { globalMemory = 0, sharedMemory = 1 };

/// What a block has for them in shared memory.
constexpr unsigned int sharedSize = 1792;

/// The bin of the element of each of a block's threads; `numBins` for none.
using Bins = backend::PerThread<unsigned int, internal::MAX_THREADS_PER_BLOCK>;

/// The columns of a page that a block counts, in steps of as many rows as it has threads.
struct Columns {
    backend::TileThreads threads;
    unsigned int page, first, width;  ///< width 0 for the positions past the extents that stepped grids have
    unsigned int begin;               ///< first row
    unsigned long step;               ///< from a row to the next of the same thread
    unsigned int numColumns, numRows;

    GPU_DEVICE Columns(cuda::Fixed2DBlockWithPagesIterator const& at, unsigned int numColumns,
                       unsigned int numRows)
        : threads(at.threads),
          page(at.page),
          first(at.blockX * threads.sizeX()),
          width(at.page < at.numPages && first < numColumns ? numColumns - first : 0),
          begin(at.blockY * threads.sizeY()),
          step(1ul * at.totalBlocksY * threads.sizeY()),
          numColumns(numColumns),
          numRows(numRows) {}

    /// Counters of the block, and about how many elements it counts.
    GPU_DEVICE unsigned long countersOf(unsigned int numBins) const { return 1ul * numBins * blockWidth(); }
    GPU_DEVICE unsigned long numElements() const {
        return 1ul * numRows * threads.sizeY() / step * blockWidth();
    }

    GPU_DEVICE unsigned int blockWidth() const { return width < threads.sizeX() ? width : threads.sizeX(); }

    /// Calls `f(tile, i)` for each step: the extents of what is left, and the index of its first element.
    template <class F>
    GPU_DEVICE void forEachStep(F f) const {
        for (unsigned long row = begin; row < numRows; row += step) {
            auto const y = static_cast<unsigned int>(row);
            f(dim3(width, numRows - y), (page * numRows + y) * numColumns + first);
        }
    }

    /// Calls `f(x, bin, i)` for the counters of the columns, of which `i` is the index in the array of
    /// counts.
    template <class F>
    GPU_DEVICE void forEachCounter(unsigned int numBins, F f) const {
        threads.phase(dim3(width, ~0u), [&](backend::Thread t) {
            for (unsigned int bin = t.y; bin < numBins; bin += threads.sizeY()) {
                f(t.x, bin, (page * numBins + bin) * numColumns + first + t.x);
            }
        });
    }
};

/// Adds to the counts where they are.
struct CountersInPlace {
    unsigned int* counts;
    unsigned int numBins;

    GPU_DEVICE void clear(Columns const&) const {}
    GPU_DEVICE void addOne(Columns const& columns, unsigned int x, unsigned int bin) const {
        backend::atomicAdd(counts[(columns.page * numBins + bin) * columns.numColumns + columns.first + x],
                           1u);
    }
    GPU_DEVICE void finish(Columns const&) const {}
};

/// Counts in shared memory first, which takes one addition in global memory for all values of a bin.
struct SharedCounters {
    unsigned int* counts;
    unsigned int numBins;
    unsigned int* counters;

    GPU_DEVICE void clear(Columns const& columns) const {
        columns.forEachCounter(numBins, [&](unsigned int x, unsigned int bin, unsigned int) {
            counters[x * numBins + bin] = 0;
        });
    }
    GPU_DEVICE void addOne(Columns const&, unsigned int x, unsigned int bin) const {
        backend::atomicAddInBlock(counters[x * numBins + bin], 1u);
    }
    GPU_DEVICE void finish(Columns const& columns) const {
        backend::blockBarrier();  // after the last addition
        columns.forEachCounter(numBins, [&](unsigned int x, unsigned int bin, unsigned int i) {
            unsigned int const count = counters[x * numBins + bin];
            if (count != 0) backend::atomicAdd(counts[i], count);
        });
    }
};

/// Counts the columns of a block. `findBins(tile, from, bins)` finds the bins of a step's elements, the first
/// of which is at `from`.
template <class T, class Counters, class FindBins>
GPU_DEVICE void count(Columns const& columns, Counters counters, double* binIndices, T const* data,
                      FindBins findBins) {
    auto const& threads = columns.threads;
    counters.clear(columns);
    columns.forEachStep([&](dim3 tile, unsigned int i) {
        // The next rows are far away.
        backend::prefetch(data + i + columns.step * columns.numColumns, threads.sizeX() * threads.sizeY());
        Bins bins;
        findBins(tile, data + i, bins);
        unsigned int const width = columns.blockWidth();
        threads.forEach(tile, [&](backend::Thread t) {
            unsigned int const bin = bins[t.y * width + t.x];
            if (bin < counters.numBins) counters.addOne(columns, t.x, bin);
        });
        if (binIndices == nullptr) return;
        double* const to = binIndices + i;
        backend::forEachOfTile(threads, tile, columns.numColumns,
                               [&](unsigned int t, unsigned long k) GPU_INLINE {
                                   unsigned int const bin = bins[t];
                                   to[k] = backend::fromUint32(bin == counters.numBins ? 0 : bin + 1);
                               });
    });
    counters.finish(columns);
}

/// The same with the counts in global memory, or in what a block has to itself beside its shared memory.
template <class T, class FindBins>
GPU_DEVICE void countInGlobalMemory(Columns const& columns, unsigned int* counts, unsigned int numBins,
                                    double* binIndices, T const* data, FindBins findBins) {
    if constexpr (backend::ownWords > 0) {
        unsigned long const numCounters = columns.countersOf(numBins);
        if (numCounters <= backend::ownWords && numCounters <= columns.numElements()) {
            unsigned int own[backend::ownWords];
            count(columns, SharedCounters{counts, numBins, own}, binIndices, data, findBins);
            return;
        }
    }
    count(columns, CountersInPlace{counts, numBins}, binIndices, data, findBins);
}

template <class T, MemoryUsagePolicy binCounts, MemoryUsagePolicy binEdges>
struct HistCGeneralFormKernel {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockWithPagesIterator const& at, unsigned int* counts,
                                 double* binIndices, T const* data, T const* edges, unsigned int numBins,
                                 unsigned int numColumns, unsigned int numRows) {
        Columns const columns(at, numColumns, numRows);
        if constexpr (binEdges == sharedMemory) {
            alignas(T) GPU_SHARED unsigned char sBinEdges[sharedSize];
            T* const shared = reinterpret_cast<T*>(sBinEdges);
            backend::Threads const threads;
            threads.phase([&](unsigned int t) {
                for (unsigned int e = t; e < numBins; e += threads.size()) shared[e] = edges[e];
            });
            auto const findBins = [&](dim3 tile, T const* from, Bins& bins) {
                search(columns, tile, from, shared, numBins, bins);
            };
            if constexpr (binCounts == sharedMemory) {
                auto* const counters = reinterpret_cast<unsigned int*>(shared + numBins);
                count(columns, SharedCounters{counts, numBins, counters}, binIndices, data, findBins);
            } else {
                countInGlobalMemory(columns, counts, numBins, binIndices, data, findBins);
            }
        } else {
            countInGlobalMemory(columns, counts, numBins, binIndices, data,
                                [&](dim3 tile, T const* from, Bins& bins) {
                                    search(columns, tile, from, edges, numBins, bins);
                                });
        }
    }

  private:
    /// The last edge that is not above the element, by halves.
    static GPU_DEVICE void search(Columns const& columns, dim3 tile, T const* from, T const* edges,
                                  unsigned int numBins, Bins& bins) {
        T const first = edges[0], last = edges[numBins - 1];
        auto const forEach = [&](auto f) GPU_INLINE {
            backend::forEachOfTile(columns.threads, tile, columns.numColumns, f);
        };
        backend::PerThread<unsigned long, internal::MAX_THREADS_PER_BLOCK> places;
        forEach([&](unsigned int t, unsigned long) GPU_INLINE { places[t] = 0; });
        // The edge is among `left` from the place on.
        for (unsigned int left = numBins; left > 1;) {
            unsigned int const half = left / 2;
            forEach([&](unsigned int t, unsigned long i) GPU_INLINE {
                bool const isAbove = edges[places[t] + half] > from[i];
                places[t] +=
                    static_cast<unsigned long>(!isAbove) * half;  // no branch: it would be mispredicted
            });
            left -= half;
        }
        forEach([&](unsigned int t, unsigned long i) GPU_INLINE {
            T const x = from[i];
            bool const isOutside = (first > x) | (last < x) | backend::isNaN(x);
            bins[t] = isOutside ? numBins : static_cast<unsigned int>(places[t]);
        });
    }
};

template <class T, MemoryUsagePolicy binCounts>
struct HistCColonFormKernel {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockWithPagesIterator const& at, unsigned int* counts,
                                 double* binIndices, T const* data, double firstEdge, double binsPerUnit,
                                 unsigned int numBins, unsigned int numColumns, unsigned int numRows) {
        Columns const columns(at, numColumns, numRows);
        T const first = static_cast<T>(firstEdge), scale = static_cast<T>(binsPerUnit);
        T const end = static_cast<T>(backend::fromUint32(numBins));
        auto const forEach = [&](dim3 tile, auto f) GPU_INLINE {
            backend::forEachOfTile(columns.threads, tile, columns.numColumns, f);
        };
        auto const findBins = [&](dim3 tile, T const* from, Bins& bins) {
            if (scale == 0) {
                forEach(tile, [&](unsigned int t, unsigned long i)
                                  GPU_INLINE { bins[t] = from[i] == first ? numBins - 1 : numBins; });
                return;
            }
            forEach(tile, [&](unsigned int t, unsigned long i) GPU_INLINE {
                T const p = (from[i] - first) * scale;
                T const above = -backend::floor(-p);
                bool const isOutside = (backend::copySign(T(1), p) < 0) | (above >= end) | backend::isNaN(p);
                unsigned int const bin = backend::toUint32(isOutside ? T(0) : p);
                bins[t] = isOutside ? numBins : bin;
            });
        };
        if constexpr (binCounts == sharedMemory) {
            GPU_SHARED unsigned int sBinCounts[sharedSize / sizeof(unsigned int)];
            count(columns, SharedCounters{counts, numBins, sBinCounts}, binIndices, data, findBins);
        } else {
            countInGlobalMemory(columns, counts, numBins, binIndices, data, findBins);
        }
    }
};

struct Block {
    unsigned long x, y;
};

/// Neighbouring threads have neighbouring columns.
constexpr Block blockFor(unsigned long numColumns) {
    constexpr unsigned long widest = 16;
    unsigned long const width = std::min(numColumns, widest);
    return {width, internal::MAX_THREADS_PER_BLOCK / width};
}

/// `arguments` are the kernel's up to the extents.
template <class Kernel, class... Arguments>
cudaError launch(CUstream_st* stream, unsigned long numColumns, unsigned long numRows, unsigned long numPages,
                 Arguments... arguments) {
    // More rows than these many blocks have are walked by a stride.
    constexpr unsigned long mostBlocksAlongColumn = 500;
    Block const block = blockFor(numColumns);
    unsigned long const ny =
        std::min(internal::divideRoundUp(numRows, block.y), mostBlocksAlongColumn) * block.y;
    return fixed2dblockwithpagesdetail::launch<Kernel>(stream, numColumns, ny, numPages, block.x, block.y,
                                                       arguments..., numColumns, numRows);
}

}  // namespace

template <class T>
cudaError HistCGeneralForm::Invoker<T>::operator()(CUstream_st* stream, unsigned int* counts,
                                                   double* binIndices, T const* data, T const* edges,
                                                   unsigned long numBins, unsigned long numColumns,
                                                   unsigned long numRows, unsigned long numPages) const {
    if (numRows == 0 || numColumns == 0) return cudaSuccess;
    auto const launchOf = [&](auto kernel) {
        return launch<decltype(kernel)>(stream, numColumns, numRows, numPages, counts, binIndices, data,
                                        edges, numBins);
    };
    unsigned long const countsSize = numBins * blockFor(numColumns).x * sizeof(unsigned int),
                        edgesSize = numBins * sizeof(T);
    if (countsSize + edgesSize <= sharedSize) {
        return launchOf(HistCGeneralFormKernel<T, sharedMemory, sharedMemory>{});
    }
    if (edgesSize <= sharedSize) return launchOf(HistCGeneralFormKernel<T, globalMemory, sharedMemory>{});
    return launchOf(HistCGeneralFormKernel<T, globalMemory, globalMemory>{});
}

template <class T>
cudaError HistCColonForm::Invoker<T>::operator()(CUstream_st* stream, unsigned int* counts,
                                                 double* binIndices, T const* data, T const* edges,
                                                 unsigned long numBins, unsigned long numColumns,
                                                 unsigned long numRows, unsigned long numPages) const {
    if (numRows == 0 || numColumns == 0) return cudaSuccess;
    double const first = edges[0], range = edges[1] - first;
    double const scale = range != 0 ? static_cast<double>(numBins - 1) / range : 0;
    auto const launchOf = [&](auto kernel) {
        return launch<decltype(kernel)>(stream, numColumns, numRows, numPages, counts, binIndices, data,
                                        first, scale, numBins);
    };
    if (numBins * blockFor(numColumns).x * sizeof(unsigned int) <= sharedSize) {
        return launchOf(HistCColonFormKernel<T, sharedMemory>{});
    }
    return launchOf(HistCColonFormKernel<T, globalMemory>{});
}

void _forceInstantiation_(detail::Opaque& opaque, HistCGeneralForm*) {
    internal::instantiate<HistCGeneralForm>(opaque, internal::FloatingReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, HistCColonForm*) {
    internal::instantiate<HistCColonForm>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime
