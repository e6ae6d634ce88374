#include <gpuruntime/convolution.hpp>

#include <algorithm>

#include "comparison.hpp"
#include "filtering/tap_counts.hpp"

namespace gpuruntime::comparison {
namespace {

/// Calls `f` with one of the constants of a list.
template <class... C, class F>
void withOneOf(Case& call, internal::TypeList<C...>, F f) {
    unsigned long const chosen = call.number(1, sizeof...(C));
    unsigned long n = 0;
    ((++n == chosen ? f(C{}) : void()), ...);
}

/// Of a piece of a filter of a vector or a matrix.
template <class T, class F>
void withTaps(Case& call, F f) {
    withOneOf(call, typename convolutioncommon::TapCountsOf<T>::type{}, [&](auto taps) {
        unsigned long const most = convolutioncommon::haloOf<T>(taps.value) + 1;
        f(taps, call.number(0, most - taps.value));
    });
}

template <class Family, class T>
struct Vectors {
    static void run(Case& call) {
        withTaps<T>(call, [&](auto taps, unsigned long extraTaps) {
            unsigned long const offset = call.number(0, 20);
            DeviceArray<T> in(call.values<T>(call.number(1, 5000))),
                out(call.values<T>(call.number(0, 5000)));
            DeviceArray<T> filter(call.values<T>(offset + taps.value + extraTaps));
            conv::OffsetsAndSzs const sizes{offset,
                                            out.size(),
                                            in.size(),
                                            extraTaps,
                                            call.flag() ? 0 : call.number(0, 500),
                                            call.flag() ? 0 : call.number(0, 500),
                                            call.flag()};
            ConvolutionVector::Invoker<T, decltype(taps)>()(nullptr, out.data(), in.data(), filter.data(),
                                                            sizes);
            call.result(out);
        });
    }
};

template <class Family, class T>
struct Matrices {
    static void run(Case& call) {
        withTaps<T>(call, [&](auto taps, unsigned long extraTaps) {
            using convolutioncommon::KernelType;
            auto const extents = [&](unsigned long(&sizes)[2]) {
                sizes[0] = call.number(1, 500);
                sizes[1] = call.number(1, 8000 / sizes[0]);
                return sizes[0] * sizes[1];
            };
            unsigned long inSizes[2], outSizes[2];
            unsigned long const inCount = extents(inSizes), outCount = extents(outSizes);
            KernelType const type = call.flag() ? KernelType::Row : KernelType::Column;
            unsigned long const numDims = call.number(2, 3);
            convn::OffsetsAndSzs sizes{};
            sizes.outShiftAlong = call.flag() ? 0 : call.number(0, 100);
            sizes.outShiftAcross = call.flag() ? 0 : call.number(0, 20);
            sizes.extraTaps = extraTaps;
            sizes.startDim0 = call.flag() ? 0 : call.number(0, 100);
            sizes.startDim1 = call.flag() ? 0 : call.number(0, 100);
            sizes.outTrimDim0 = call.flag() ? 0 : call.number(0, 50);
            sizes.outTrimDim1 = call.flag() ? 0 : call.number(0, 50);
            // A position below these ends has its place in the output.
            unsigned long const shift0 =
                type == KernelType::Column ? sizes.outShiftAlong : sizes.outShiftAcross;
            unsigned long const shift1 =
                type == KernelType::Column ? sizes.outShiftAcross : sizes.outShiftAlong;
            sizes.interiorEndDim0 = std::max(outSizes[0] + sizes.outTrimDim0, shift0) - shift0;
            sizes.interiorEndDim1 = std::max(outSizes[1] + sizes.outTrimDim1, shift1) - shift1;
            sizes.inPageOffset = sizes.outPageOffset = call.number(0, 100);
            sizes.filterTapOffset = call.number(0, 10);
            sizes.extentDim0 = outSizes[0];
            sizes.extentDim1 = outSizes[1];
            sizes.firstPiece = call.flag();
            DeviceArray<T> in(call.values<T>(inCount + 100)), out(call.values<T>(outCount + 100));
            DeviceArray<T> filter(call.values<T>(sizes.filterTapOffset + taps.value + extraTaps));
            ConvolutionMatrix::Invoker<T, decltype(taps)>()(nullptr, out.data(), in.data(), filter.data(),
                                                            inSizes, outSizes, sizes, numDims, type);
            call.result(out);
        });
    }
};

template <class Family, class T>
struct Squares {
    static void run(Case& call) {
        withOneOf(call, typename convolutioncommon::SidesOf<T>::type{}, [&](auto side) {
            unsigned long const inSizes[] = {call.number(1, 100), call.number(1, 100)};
            unsigned long const outSizes[] = {call.number(0, 100), call.number(0, 100)};
            // Wraps below 0.
            unsigned long const offsets[] = {call.number(0, 40) - 20, call.number(0, 40) - 20};
            DeviceArray<T> in(call.values<T>(inSizes[0] * inSizes[1] + 7));
            DeviceArray<T> out(call.values<T>(outSizes[0] * outSizes[1] + 9));
            DeviceArray<T> filter(call.values<T>(side.value * side.value));
            ConvolutionSquare::Invoker<T, decltype(side)>()(nullptr, out.data(), in.data(), filter.data(),
                                                            outSizes, inSizes, 2, offsets, {7, 0, 9});
            call.result(out);
        });
    }
};

bool const areAdded = [] {
    addCases<Vectors, ConvolutionVector>(internal::Floating{});
    addCases<Matrices, ConvolutionMatrix>(internal::Floating{});
    addCases<Squares, ConvolutionSquare>(internal::Floating{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
