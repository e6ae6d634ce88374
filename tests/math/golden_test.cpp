// Hashes of what every family that uses the mathematical functions makes of a fixed corpus, the same on every
// device. A change of bits changes a hash below, so that it is a decision and never an accident.

#include <cuda_runtime.h>
#include <gtest/gtest.h>
#include <gpuruntime/accumulation.hpp>
#include <gpuruntime/arithmetic.hpp>
#include <gpuruntime/random.hpp>
#include <gpuruntime/ranges.hpp>
#include <gpuruntime/reductions.hpp>
#include <gpuruntime/sorting.hpp>

#include <cmath>
#include <random>

#include "tests/support/device_array.hpp"
#include "tests/support/hash.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime::testing {
namespace {

// Exact in every type, and drawn without anything of the C++ library's own.
double drawn(std::mt19937_64& engine, long below) {
    return static_cast<double>(engine() % static_cast<unsigned long>(2 * below)) - static_cast<double>(below);
}

// Points among which many are as far from the origin as others, by rounding or exactly, and some overflow.
template <class T>
Elements<T> points(std::size_t n) {
    using P = internal::Part<T>;
    std::mt19937_64 engine(5);
    P const largest = std::numeric_limits<P>::max();
    Elements<T> values;
    while (values.size() < n) {
        P const x = static_cast<P>(drawn(engine, 40) / 3), y = static_cast<P>(drawn(engine, 40) / 3);
        for (T const& value : {T{x, y}, T{y, -x}, T{x * P(1e-5), y * P(1e-5)}, T{std::nextafter(x, P(99)), y},
                               T{largest / x, largest / y}}) {
            values.push_back(value);
        }
        if (values.size() % 7 == 0) values.push_back({x, std::numeric_limits<P>::infinity()});
    }
    values.resize(n);
    return values;
}

// Points of whole numbers, also in other scales: those as far from the origin as others are so exactly and
// stand at other angles, so that all ways to sort them agree. Where magnitudes are equal by rounding alone,
// three values can each come before the next.
Elements<double2> latticePoints(std::size_t n) {
    std::mt19937_64 engine(7);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Elements<double2> values;
    while (values.size() < n) {
        double const x = drawn(engine, 40), y = drawn(engine, 40);
        for (double scale : {1.0, 0x1p-20, 0x1p-1060, 0x1p1018}) {
            values.push_back({x * scale, y * scale});
            values.push_back({y * scale, -x * scale});
        }
        if (values.size() % 7 == 0) values.push_back({x, infinity});
    }
    values.resize(n);
    return values;
}

constexpr unsigned long n = 5000;

template <class T>
unsigned long logspaceHash() {
    using P = internal::Part<T>;
    Hash hash;
    std::mt19937_64 engine(1);
    for (int i = 0; i < 20; ++i) {
        DeviceArray<T> out(n);
        auto const end = [&] {
            P const x = static_cast<P>(drawn(engine, 3000) / 100);
            if constexpr (internal::isComplex<T>) {
                return T{x, static_cast<P>(i % 5 == 0   ? 0
                                           : i % 5 == 1 ? drawn(engine, 1 << 30)
                                                        : drawn(engine, 90) / 9)};
            } else {
                return x;
            }
        };
        T const first = end(), last = end();
        Logspace::Invoker<T>()(nullptr, n, out.data(), first, last);
        hash.add<T>(out.values());
    }
    return hash.value();
}

TEST(GoldenValues, OfLogspace) {
    EXPECT_EQ(0x6eb61f93df0d566e, logspaceHash<float>());
    EXPECT_EQ(0xe3ad0d20a28b5e63, logspaceHash<double>());
    EXPECT_EQ(0xa246d99a9618aa11, logspaceHash<float2>());
    EXPECT_EQ(0x520324a88618692d, logspaceHash<double2>());
}

using Mrg32k3a = gpucommon::rand::MRG32K3AGenerator;
using Philox = gpucommon::rand::Philox4x32Generator;
using ThreeFry = gpucommon::rand::ThreeFry4x64Generator;

template <class Family, class T>
unsigned long normalsHash() {
    unsigned int state[] = {1, 2, 3, 4, 5, 6, 0, 8, 9, 10, 11, 12, 13, 14, 15, 16, 0};  // any generator's
    DeviceArray<T> out(20 * n);
    EXPECT_EQ(cudaSuccess, typename Family::template Invoker<T>()(nullptr, out.data(), state, out.size()));
    Hash hash;
    hash.add<T>(out.values());
    return hash.value();
}

TEST(GoldenValues, OfNormalsByInversion) {
    EXPECT_EQ(0x48f5b5c7629add8d, (normalsHash<RandNInversion<Mrg32k3a>, double>()));
    EXPECT_EQ(0x807c1e383f95efcc, (normalsHash<RandNInversion<Mrg32k3a>, float>()));
    EXPECT_EQ(0x9ea1e22627da4864, (normalsHash<RandNInversion<Philox>, double>()));
    EXPECT_EQ(0x38d3f0039a911c49, (normalsHash<RandNInversion<Philox>, float>()));
    EXPECT_EQ(0x266a38ac44f4bfef, (normalsHash<RandNInversion<ThreeFry>, double>()));
    EXPECT_EQ(0x74245a3b877d5337, (normalsHash<RandNInversion<ThreeFry>, float>()));
}

TEST(GoldenValues, OfNormalsOfBoxMuller) {
    EXPECT_EQ(0x8c7e1825dfb068ef, (normalsHash<RandNBoxMuller<Philox>, double>()));
    EXPECT_EQ(0x200962b0f663ebdc, (normalsHash<RandNBoxMuller<Philox>, float>()));
    EXPECT_EQ(0x4dd8f3c3b270bd40, (normalsHash<RandNBoxMuller<ThreeFry>, double>()));
    EXPECT_EQ(0xab61146890c85d70, (normalsHash<RandNBoxMuller<ThreeFry>, float>()));
}

template <class T>
unsigned long extremesHash() {
    Hash hash;
    for (unsigned long length : {10ul, 100ul, 1000ul}) {
        DeviceArray<T> data(points<T>(n)), extremes(n / length);
        DeviceArray<double> places(n / length);
        for (bool includeNaN : {false, true}) {
            Max::Invoker<T>()(nullptr, extremes.data(), data.data(), n, length, 1, includeNaN);
            hash.add<T>(extremes.values());
            Min::Invoker<T>()(nullptr, extremes.data(), data.data(), n, length, 1, includeNaN);
            hash.add<T>(extremes.values());
            MaxWithIndex::Invoker<T>()(nullptr, extremes.data(), places.data(), data.data(), n, length, 1, 1,
                                       includeNaN);
            hash.add<double>(places.values());
            MinWithIndex::Invoker<T>()(nullptr, extremes.data(), places.data(), data.data(), n, length, 1, 1,
                                       includeNaN);
            hash.add<double>(places.values());
        }
        CumMax::Invoker<T>()(nullptr, extremes.data(), data.data(), n, length, 1);
        hash.add<T>(data.values());
        data.set(points<T>(n));
        CumMin::Invoker<T>()(nullptr, extremes.data(), data.data(), n, length, 1);
        hash.add<T>(data.values());
    }
    return hash.value();
}

TEST(GoldenValues, OfComplexExtremes) {
    EXPECT_EQ(0xed2fea18eabb073d, extremesHash<float2>());
    EXPECT_EQ(0x4103cee587894bf9, extremesHash<double2>());
}

TEST(GoldenValues, OfComplexSorts) {
    Hash hash;
    for (bool ascending : {true, false}) {
        DeviceArray<double2> data(latticePoints(n));
        DeviceArray<double> places(n);
        SortVector::Invoker<double2>()(data.data(), places.data(), n, ascending, true);
        hash.add<double2>(data.values());
        DeviceArray<double2> matrix(latticePoints(n));
        std::vector<int> columns;
        for (unsigned long i = 0; i < n; ++i) columns.push_back(static_cast<int>(i / 500));
        DeviceArray<int> columnIds(columns);
        SortMatrix::Invoker<double2>()(matrix.data(), columnIds.data(), n, ascending, true);
        hash.add<double2>(matrix.values());
        double const order[] = {ascending ? 2.0 : -2.0, 1};
        Elements<unsigned int> rows(n / 2);
        for (unsigned int i = 0; i < rows.size(); ++i) rows[i] = i + 1;
        DeviceArray<unsigned int> rowIndices(rows);
        DeviceArray<double2> table(latticePoints(n));
        EXPECT_EQ(0, SortrowsIndex::Invoker<double2>()(table.data(), rowIndices.data(), n / 2, 2, order));
        for (unsigned int row : rowIndices.values()) hash.add<double>({static_cast<double>(row)});
    }
    DeviceArray<double2> data(points<double2>(n));
    for (unsigned int i = 0; i < 500; ++i) {
        hash.add<double>({IsSortedVector::Invoker<double2>()(nullptr, data.data() + i, 2) ? 1.0 : 0.0});
    }
    EXPECT_EQ(0x66b3d716ff71d891, hash.value());
}

template <class T>
unsigned long magnitudesHash() {
    Hash hash;
    DeviceArray<T> in(points<T>(n));
    DeviceArray<Magnitude<T>> out(n);
    Abs::Invoker<T>()(nullptr, out.data(), in.data(), n);
    hash.add<Magnitude<T>>(out.values());
    for (double exponent : {2.0, -0.3, 1.7, 11.0}) {
        AbsPower::Invoker<T>()(nullptr, out.data(), in.data(), exponent, n);
        hash.add<Magnitude<T>>(out.values());
    }
    return hash.value();
}

TEST(GoldenValues, OfMagnitudesAndTheirPowers) {
    EXPECT_EQ(0x5d6ff638ad701b6a, magnitudesHash<float2>());
    EXPECT_EQ(0xa91a473282cbe9bf, magnitudesHash<double2>());
}

template <class T>
unsigned long matrixPowersHash() {
    Hash hash;
    unsigned long const side = 70;
    DeviceArray<T> vectors(points<T>(side * side)), values(points<T>(side)), out(side * side);
    for (T const& scalar : points<T>(12)) {
        MPowerMatrixScalar::Invoker<T>()(nullptr, out.data(), vectors.data(), values.data(), scalar, side);
        hash.add<T>(out.values());
        MPowerScalarMatrix::Invoker<T>()(nullptr, out.data(), vectors.data(), values.data(), scalar, side);
        hash.add<T>(out.values());
    }
    return hash.value();
}

TEST(GoldenValues, OfMatrixPowers) {
    EXPECT_EQ(0xc1a462c00d37841b, matrixPowersHash<float2>());
    EXPECT_EQ(0x9b2d4754232fe055, matrixPowersHash<double2>());
}

}  // namespace
}  // namespace gpuruntime::testing
