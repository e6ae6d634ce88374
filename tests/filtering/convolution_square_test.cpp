#include <gtest/gtest.h>

#include "tests/filtering/convolution_reference.hpp"
#include "tests/support/device_limits.hpp"
#include "tests/support/sampled.hpp"
#include "tests/support/test_types.hpp"

namespace gpuruntime {
namespace {

using convolutioncommon::PageOffsetInfo;
using testing::Arguments;
using testing::DeviceArray;
using testing::Elements;
using testing::expectSameValues;
using testing::fusedStep;
using testing::valuesOf;

template <class T>
using SquareCall = cudaError(CUstream_st*, T*, T const*, T const*, unsigned long const*, unsigned long const*,
                             unsigned long, unsigned long const*, PageOffsetInfo);

template <class T>
auto squareInstances() {
    return testing::instancesOf<ConvolutionSquare, T, SquareCall<T>>(
        typename convolutioncommon::SidesOf<T>::type{});
}

struct Extents {
    unsigned long x, y;
    unsigned long size() const { return x * y; }
};

struct Arrangement {
    Extents out, in;
    long offsetX, offsetY;
    PageOffsetInfo pages{};
};

/// The sum of a result: rows of the input in ascending order, and within a row its elements.
template <class T>
T sumAt(Elements<T> const& in, Arrangement const& at, Elements<T> const& filter, long side, long x, long y) {
    T sum{};
    for (long b = side - 1; b >= 0; --b) {
        for (long a = side - 1; a >= 0; --a) {
            long const inX = x + at.offsetX - a, inY = y + at.offsetY - b;
            bool const isIn = inX >= 0 && inX < long(at.in.x) && inY >= 0 && inY < long(at.in.y);
            T const element = isIn ? in[at.pages.inPageOffset + static_cast<unsigned long>(inY) * at.in.x +
                                        static_cast<unsigned long>(inX)]
                                   : T{};
            sum = fusedStep(filter[static_cast<unsigned long>(a + side * b)], element, sum);
        }
    }
    return sum;
}

template <class T>
Elements<T> convolved(Elements<T> out, Arrangement const& at, Elements<T> const& in,
                      Elements<T> const& filter, unsigned int side, unsigned long limitX = 2147483647,
                      unsigned long limitY = 65535) {
    for (auto const& block : testing::visitedBlocks(at.out.x, (at.out.y + 3) / 4, 16, 4, limitX, limitY)) {
        for (unsigned long y = block.y * 16; y < std::min(at.out.y, block.y * 16 + 16); ++y) {
            for (unsigned long x = block.x * 16; x < std::min(at.out.x, block.x * 16 + 16); ++x) {
                out[at.pages.outPageOffset + y * at.out.x + x] =
                    sumAt<T>(in, at, filter, side, long(x), long(y));
            }
        }
    }
    return out;
}

template <class T>
class ConvolutionSquares : public ::testing::Test {
  protected:
    static Elements<T> result(testing::Instance<T, SquareCall<T>> const& instance, Arrangement const& at,
                              Elements<T> const& in, Elements<T> const& filter, Elements<T> const& out) {
        DeviceArray<T> o(out), i(in), f(filter);
        unsigned long const outSizes[] = {at.out.x, at.out.y}, inSizes[] = {at.in.x, at.in.y};
        unsigned long const offsets[] = {static_cast<unsigned long>(at.offsetX),
                                         static_cast<unsigned long>(at.offsetY)};
        EXPECT_EQ(cudaSuccess, instance.call(nullptr, o.data(), i.data(), f.data(), outSizes, inSizes, 2,
                                             offsets, at.pages));
        testing::expectSameBits(in, i.values());
        testing::expectSameBits(filter, f.values());
        return o.values();
    }

    static void expectConvolved(testing::Instance<T, SquareCall<T>> const& instance, Arrangement const& at,
                                Elements<T> const& in, Elements<T> const& filter, Elements<T> const& out) {
        SCOPED_TRACE(::testing::Message()
                     << "side " << instance.constant << ", out " << at.out.x << " by " << at.out.y << ", in "
                     << at.in.x << " by " << at.in.y << ", offsets " << at.offsetX << ", " << at.offsetY);
        expectSameValues(convolved<T>(out, at, in, filter, instance.constant),
                         result(instance, at, in, filter, out));
    }
};

TYPED_TEST_SUITE(ConvolutionSquares, testing::TestTypes<internal::Floating>);

TYPED_TEST(ConvolutionSquares, WithASingleOneCopyTheInput) {
    using T = TypeParam;
    Arguments<T> arguments(1);
    for (auto const& instance : squareInstances<T>()) {
        Elements<T> filter(instance.constant * instance.constant);
        filter[0] = testing::valueOf<T>(1);
        Extents const extents{37, 22};
        auto const in = arguments.values(extents.size());
        expectSameValues(
            in, this->result(instance, {extents, extents, 0, 0}, in, filter, Elements<T>(in.size())));
    }
}

/// The first element of a window meets the filter's last tap.
TYPED_TEST(ConvolutionSquares, TurnTheFilter) {
    using T = TypeParam;
    auto const instance = squareInstances<T>().front();
    Extents const in{1, 1}, out{4, 3};
    expectSameValues(valuesOf<T>({1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0}),
                     this->result(instance, {out, in, 0, 0}, valuesOf<T>({1}),
                                  valuesOf<T>({1, 2, 3, 4, 5, 6, 7, 8, 9}), Elements<T>(out.size())));
}

TYPED_TEST(ConvolutionSquares, ReadZerosAroundTheInput) {
    using T = TypeParam;
    auto const instance = squareInstances<T>().front();
    Extents const extents{3, 3};
    expectSameValues(valuesOf<T>({4, 6, 4, 6, 9, 6, 4, 6, 4}),
                     this->result(instance, {extents, extents, 1, 1}, valuesOf<T>(std::vector<double>(9, 1)),
                                  valuesOf<T>(std::vector<double>(9, 1)), Elements<T>(9)));
}

TYPED_TEST(ConvolutionSquares, OfEverySideAddTheTapsInOrder) {
    using T = TypeParam;
    Arguments<T> arguments(10);
    std::vector<Extents> const outs{{1, 1},   {15, 3},  {16, 4},  {17, 5}, {16, 16},
                                    {33, 15}, {50, 17}, {40, 34}, {7, 50}, {64, 18}};
    for (auto const& instance : squareInstances<T>()) {
        long const side = instance.constant;
        for (Extents const out : testing::sampled(outs)) {
            for (long const offset : {0l, 1l, side / 2, side - 1, 20l, -7l, -30l}) {
                Extents const in{out.x + arguments.below(12), 1 + out.y / (1 + arguments.below(3))};
                auto const filter = arguments.values(instance.constant * instance.constant);
                this->expectConvolved(instance, {out, in, offset, offset / 2}, arguments.values(in.size()),
                                      filter, arguments.values(out.size()));
                this->expectConvolved(instance, {out, in, -offset, offset}, arguments.values(in.size()),
                                      filter, arguments.values(out.size()));
            }
        }
    }
}

TYPED_TEST(ConvolutionSquares, TakeSpecialValues) {
    using T = TypeParam;
    unsigned long seed = 100;
    for (auto const& instance : squareInstances<T>()) {
        Extents const extents{61, 45};
        this->expectConvolved(instance, {extents, extents, 1, 2},
                              testing::mixedValues<T>(extents.size(), 29, seed + 1),
                              testing::mixedValues<T>(instance.constant * instance.constant, 5, seed),
                              Elements<T>(extents.size()));
        ++seed;
    }
}

TYPED_TEST(ConvolutionSquares, OnSmallGridsStep) {
    using T = TypeParam;
    Arguments<T> arguments(200);
    auto const instances = squareInstances<T>();
    Extents const extents{16 * 6 + 1, 16 * 5 + 3};
    for (Extents const limits : {Extents{3, 65535}, Extents{65535, 2}, Extents{2, 3}}) {
        testing::GridLimits const stored(limits.x, limits.y);
        auto const& instance = instances[arguments.below(instances.size())];
        auto const in = arguments.values(extents.size()), out = arguments.values(extents.size());
        auto const filter = arguments.values(instance.constant * instance.constant);
        Arrangement const at{extents, extents, 2, 2};
        expectSameValues(convolved<T>(out, at, in, filter, instance.constant, limits.x, limits.y),
                         this->result(instance, at, in, filter, out));
    }
}

TYPED_TEST(ConvolutionSquares, OfPagesBeginWhereTheyAreTold) {
    using T = TypeParam;
    Arguments<T> arguments(300);
    Extents const extents{20, 30};
    for (auto const& instance : squareInstances<T>()) {
        Arrangement const at{extents, extents, 1, 1, {2 * extents.size(), 17, extents.size()}};
        this->expectConvolved(instance, at, arguments.values(3 * extents.size()),
                              arguments.values(instance.constant * instance.constant),
                              arguments.values(3 * extents.size()));
    }
}

TYPED_TEST(ConvolutionSquares, WithoutOutputWriteNothing) {
    using T = TypeParam;
    for (auto const& instance : squareInstances<T>()) {
        for (Extents const out : {Extents{0, 5}, Extents{5, 0}, Extents{0, 0}}) {
            this->result(instance, {out, {3, 3}, 0, 0}, Elements<T>(9), Elements<T>(81), Elements<T>());
        }
    }
}

}  // namespace
}  // namespace gpuruntime
