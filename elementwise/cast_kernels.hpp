#pragma once

#include <cuda_runtime.h>

#include <algorithm>

#include "elementwise/run_steps.hpp"
#include "frame/complex.hpp"
#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/invariant_divisor.hpp"
#include "run.hpp"

/// Casts, over any pair of types: only the steps are made for types of parts.
namespace gpuruntime::internal {

/// Writes the elements of a run as `Target`.
template <class Target, class Source>
GPU_DEVICE void castRun(unsigned int size, Target* to, Source const* from) {
    if constexpr (isComplex<Source>) {
        castRun(2 * size, parts(to), parts(from));
    } else if constexpr (isComplex<Target>) {
        withCast<Part<Target>>(size, from, [&](auto const* re) { complexify(size, parts(to), re); });
    } else if constexpr (std::is_same_v<Target, Source>) {
        copyEach(size, to, from);
    } else {
        castEach(size, to, from);
    }
}

template <class Target, class Source>
struct CastKernel {
    static GPU_DEVICE void apply(backend::Run run, Target* out, Source const* in) {
        backend::ElementsOf const from(run, readable(in));
        backend::storeRun(run, out, [&](Target* to) { castRun(run.size, to, from.data()); });
    }
};

/// Where the elements of a dense source go: `length` of them, then as many more as fill a stride.
struct BlockLayout {
    unsigned int offset, stride, length;
    InvariantDivisor byLength;

    BlockLayout(unsigned long offset, unsigned long stride, unsigned long length)
        : offset(static_cast<unsigned int>(offset)),
          stride(static_cast<unsigned int>(stride)),
          length(static_cast<unsigned int>(length)),
          byLength(static_cast<unsigned int>(length)) {}
};

/// Stores the elements of a run at their places; positions wrap at 32 bits.
template <class T>
GPU_STEP void storeInBlocks(backend::Run run, T* out, T const* values, BlockLayout const& layout) {
    unsigned int const block = layout.byLength.quotient(run.first);
    unsigned int place = run.first - block * layout.length;
    unsigned int to = block * layout.stride + layout.offset + place;
    auto const advance = [&](unsigned int size) {
        to += size;
        place += size;
        if (place == layout.length) {
            place = 0;
            to += layout.stride - layout.length;
        }
    };
    constexpr unsigned int worthALoop = 16;
    if constexpr (backend::Run::capacity > 1) {
        if (layout.length >= worthALoop) {
            for (unsigned int done = 0, size; done < run.size; done += size, advance(size)) {
                // As far as the run, the block and the range of positions go.
                size = std::min({run.size - done - 1, layout.length - place - 1, ~to}) + 1;
                backend::forEachOf(size, [&, start = out + to, from = values + done](unsigned int k) {
                    start[k] = from[k];
                });
            }
            return;
        }
    }
    for (unsigned int k = 0; k < run.size; ++k, advance(1)) out[to] = values[k];
}

template <class Target, class Source>
struct CastBlockKernel {
    static GPU_DEVICE void apply(backend::Run run, Target* out, Source const* in, BlockLayout layout) {
        backend::ElementsOf const from(run, readable(in));
        if constexpr (std::is_same_v<Target, Source>) {
            storeInBlocks(run, out, from.data(), layout);
        } else {
            Target values[backend::Run::capacity];
            castRun(run.size, values, from.data());
            storeInBlocks(run, out, values, layout);
        }
    }
};

/// The operator of a cast to a dense array; a value of its own type is copied.
template <class Target, class Source>
cudaError castDense(CUstream_st* stream, unsigned long n, Target* out, Source const* in) {
    if constexpr (std::is_same_v<Target, Source>) {
        return cudaMemcpyAsync(out, in, n * sizeof(Target), cudaMemcpyDeviceToDevice, stream);
    } else {
        return elementwisedetail::launch<CastKernel<Target, Source>>(stream, n, out, in);
    }
}

}  // namespace gpuruntime::internal
