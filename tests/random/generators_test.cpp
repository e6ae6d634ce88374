// The device functions of the generators and conversions themselves, run by kernels of the tests' own.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "frame/fixed_block.hpp"
#include "random/conversions.hpp"
#include "random/distributions.hpp"
#include "random/mrg32k3a.hpp"
#include "random/philox4x32.hpp"
#include "random/threefry4x64.hpp"
#include "tests/random/reference.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"

namespace gpuruntime {
namespace {

using gpucommon::rand::MRG32K3AGenerator;
using gpucommon::rand::Philox4x32Generator;
using gpucommon::rand::ThreeFry4x64Generator;
using testing::DeviceArray;
using testing::State;
using Longs = std::vector<unsigned long>;
using Doubles = std::vector<double>;

constexpr unsigned int numThreads = 64;

void setState(State const& state) {
    ASSERT_EQ(cudaSuccess,
              cudaMemcpyToSymbol(RNGInitialState, state.data(), state.size() * sizeof(unsigned int)));
}

// Thread t writes the words of the block `first` + t.
template <class G>
struct WriteBlocks {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& iterator, unsigned long* out,
                                 unsigned int first) {
        using namespace backend;
        G const generator = G::load();
        forEachLanes(iterator.threads, [&](unsigned int t) {
            WordLanes words[4];
            generator.block(countedFrom(first) + t, words);
            for (unsigned int i = 0; i < laneCount; ++i) {
                for (unsigned int k = 0; k < 4; ++k) out[(t + i) * 4 + k] = lane(words[k], i);
            }
        });
    }
};

// Thread t writes the four words that follow after skipping `start` + t * `stride` elements.
struct WriteSteps {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& iterator, unsigned long* out,
                                 unsigned int start, unsigned int stride) {
        using namespace backend;
        forEachLanes(iterator.threads, [&](unsigned int t) {
            MRG32K3AGenerator generator = MRG32K3AGenerator::load(start + t * stride, stride);
            for (unsigned int k = 0; k < 4; ++k) {
                WordLanes const z = generator.next();
                for (unsigned int i = 0; i < laneCount; ++i) out[(t + i) * 4 + k] = lane(z, i);
            }
        });
    }
};

// Converts pairs of uniform values as the two places of a block.
template <class T, class Conversion>
struct ConvertPairs {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& iterator, T* out, double const* u1,
                                 double const* u2) {
        using namespace backend;
        using namespace gpucommon::rand;
        unsigned int const first = iterator.blockIndex * numThreads;
        forEachLanes(iterator.threads, [&](unsigned int t) {
            DoubleLanes uniform[2];
            ElementLanes<T> elements[2];
            for (unsigned int i = 0; i < laneCount; ++i) {
                setLane(uniform[0], i, u1[first + t + i]);
                setLane(uniform[1], i, u2[first + t + i]);
            }
            convertBlock<T>(Conversion{}, uniform, elements);
            for (unsigned int i = 0; i < laneCount; ++i) {
                out[2 * (first + t + i)] = elementOf<T>(elements[0], i);
                out[2 * (first + t + i) + 1] = elementOf<T>(elements[1], i);
            }
        });
    }
};

struct WriteUniforms {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& iterator, double* out,
                                 unsigned long const* integers) {
        using namespace backend;
        forEachLanes(iterator.threads, [&](unsigned int t) {
            WordLanes values = wordLanes(0);
            for (unsigned int i = 0; i < laneCount; ++i) setLane(values, i, integers[t + i]);
            DoubleLanes const u = gpucommon::rand::uniformOf(values);
            for (unsigned int i = 0; i < laneCount; ++i) out[t + i] = lane(u, i);
        });
    }
};

// Writes uniform values as the block `blockIndex` of a larger grid; `outAddress` is that of element 0.
template <class G>
struct FillAsBlock {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& iterator, std::uintptr_t outAddress,
                                 unsigned int blockIndex, unsigned int runLength, unsigned int n) {
        cuda::Fixed1DBlockIterator const asBlock{iterator.threads, blockIndex, iterator.count};
        auto* const out = reinterpret_cast<double*>(outAddress);
        gpucommon::rand::fill<G>(asBlock, runLength, out, gpucommon::rand::RandConversion<double>{}, n);
    }
};

template <class G>
Longs blocksFrom(State const& state, unsigned int first) {
    setState(state);
    DeviceArray<unsigned long> out(4 * numThreads);
    EXPECT_EQ(cudaSuccess,
              fixed1dblockdetail::launch<WriteBlocks<G>>(nullptr, numThreads, numThreads, out.data(), first));
    return out.values();
}

template <class G>
Longs firstBlock(State const& state) {
    Longs const blocks = blocksFrom<G>(state, 0);
    return Longs(blocks.begin(), blocks.begin() + 4);
}

Longs stepsFrom(State const& state, unsigned int start, unsigned int stride) {
    setState(state);
    DeviceArray<unsigned long> out(4 * numThreads);
    EXPECT_EQ(cudaSuccess, fixed1dblockdetail::launch<WriteSteps>(nullptr, numThreads, numThreads, out.data(),
                                                                  start, stride));
    return out.values();
}

// --- Known answers ---

// The vectors for 10 rounds in the file kat_vectors of the Random123 distribution (D. E. Shaw Research),
// version 1.14.0.
TEST(Philox4x32, GivesThePublishedBlocks) {
    EXPECT_EQ((Longs{0x6627e8d5, 0xe169c58d, 0xbc57ac4c, 0x9b00dbd8}),
              firstBlock<Philox4x32Generator>({0, 0, 0, 0, 0, 0, 0}));
    unsigned int const ones = 0xffffffff;
    EXPECT_EQ((Longs{0x408f276d, 0x41c83b0e, 0xa20bc7c6, 0x6d5451fd}),
              firstBlock<Philox4x32Generator>({ones, ones, ones, ones, ones, ones, 0}));
    EXPECT_EQ((Longs{0xd16cfe09, 0x94fdcceb, 0x5001e420, 0x24126ea1}),
              firstBlock<Philox4x32Generator>(
                  {0xa4093822, 0x299f31d0, 0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344, 0}));
}

// The vectors for 20 rounds in the same file.
TEST(ThreeFry4x64, GivesThePublishedBlocks) {
    EXPECT_EQ((Longs{0x09218ebde6c85537, 0x55941f5266d86105, 0x4bd25e16282434dc, 0xee29ec846bd2e40b}),
              firstBlock<ThreeFry4x64Generator>(State(17, 0)));
    State ones(17, 0xffffffff);
    ones[16] = 0;
    EXPECT_EQ((Longs{0x29c24097942bba1b, 0x0371bbfb0f6f4e11, 0x3c231ffa33f83a1c, 0xcd29113fde32d168}),
              firstBlock<ThreeFry4x64Generator>(ones));
    EXPECT_EQ((Longs{0xa7e8fde591651bd9, 0xbaafd0c30138319b, 0x84a5c1a729e685b9, 0x901d406ccebc1ba4}),
              firstBlock<ThreeFry4x64Generator>({0x452821e6, 0x38d01377, 0xbe5466cf, 0x34e90c6c, 0xbe5466cf,
                                                 0x34e90c6c, 0xc0ac29b7, 0xc97c50dd, 0x243f6a88, 0x85a308d3,
                                                 0x13198a2e, 0x03707344, 0xa4093822, 0x299f31d0, 0x082efa98,
                                                 0xec4e6c89, 0}));
}

// The first values from the seed 12345, six times: L'Ecuyer's RngStreams prints them divided by m1 + 1,
// beginning with 0.127011.
TEST(Mrg32k3a, GivesThePublishedSequence) {
    Longs z = stepsFrom(State(6, 12345), 0, 2);
    z.resize(12);
    EXPECT_EQ((Longs{545508589, 1368065410, 1327943761, 3546985096, 951893194, 2290915636, 2064909380,
                     1527117980, 584065747, 3246360482, 2471991152, 1761211786}),
              z);
}

// --- Counters ---

// 128- and 256-bit counters at which the carry goes one word further each time, and wraps at the end.
TEST(Philox4x32, CarriesThroughAllCounterWords) {
    for (std::size_t fullWords = 0; fullWords <= 4; ++fullWords) {
        for (unsigned int first : {0u, 1u, 63u, 1u << 30, 0x7fffffffu, 0xffffffc0u}) {
            State state{1, 2, 3, 4, 5, 6, 0};
            for (std::size_t i = 0; i < fullWords; ++i) state[2 + i] = 0xffffffff;
            Longs expected;
            testing::Wide counter = 0;
            for (std::size_t i = 4; i-- > 0;) counter = counter << 32 | state[2 + i];
            for (unsigned int t = 0; t < numThreads; ++t) {
                testing::Wide const moved = counter + first + t;
                auto const word = [&](int i) { return static_cast<unsigned int>(moved >> (32 * i)); };
                for (unsigned long w : testing::philoxBlock({word(0), word(1), word(2), word(3)}, {1, 2})) {
                    expected.push_back(w);
                }
            }
            testing::expectSameBits(expected, blocksFrom<Philox4x32Generator>(state, first));
        }
    }
}

TEST(ThreeFry4x64, CarriesThroughAllCounterWords) {
    for (std::size_t fullWords = 0; fullWords <= 4; ++fullWords) {
        for (unsigned int first : {0u, 1u, 63u, 1u << 30, 0x7fffffffu, 0xffffffc0u}) {
            State state{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 0};
            for (std::size_t i = 0; i < 2 * fullWords; ++i) state[8 + i] = 0xffffffff;
            Longs expected;
            for (unsigned int t = 0; t < numThreads; ++t) {
                auto counter = testing::longsAt(state, 8);
                counter[0] += first + t;
                if (counter[0] < first + t && ++counter[1] == 0 && ++counter[2] == 0) ++counter[3];
                for (unsigned long w : testing::threefryBlock(counter, testing::longsAt(state, 0)))
                    expected.push_back(w);
            }
            testing::expectSameBits(expected, blocksFrom<ThreeFry4x64Generator>(state, first));
        }
    }
}

// --- The last blocks ---

// Runs the block `blockIndex` of `blockSize` threads on an array that holds its elements alone, from `first`
// on. Element 0, which does not exist, is told by its address: a pointer must stay within its array.
template <class G>
void fillAsBlock(DeviceArray<double>& out, unsigned long first, unsigned int blockIndex,
                 unsigned int blockSize, unsigned int runLength, unsigned int n) {
    auto const address = reinterpret_cast<std::uintptr_t>(out.data()) - first * sizeof(double);
    EXPECT_EQ(cudaSuccess, fixed1dblockdetail::launch<FillAsBlock<G>>(nullptr, blockSize, blockSize, address,
                                                                      blockIndex, runLength, n));
}

constexpr unsigned int largestN = 0xffffffff;
constexpr unsigned int elementsPerBlock = gpucommon::rand::blockSize * gpucommon::rand::elementsPerThread;
constexpr unsigned int lastBlock = largestN / elementsPerBlock;
static_assert(elementsPerBlock == 512 && lastBlock == (1u << 23) - 1);

// The elements of the largest array that are left for its last block.
template <class G>
void expectLastBlock(State const& start, State const& atLastBlock) {
    setState(start);
    DeviceArray<double> out(elementsPerBlock);
    fillAsBlock<G>(out, 1ul * lastBlock * elementsPerBlock, lastBlock, gpucommon::rand::blockSize,
                   gpucommon::rand::elementsPerThread, largestN);
    Doubles expected = testing::streamOf<G>(atLastBlock, elementsPerBlock - 1);
    expected.push_back(DeviceArray<double>(1).values()[0]);  // untouched
    testing::expectSameBits(expected, out.values());
}

TEST(Philox4x32, EndsTheLargestArrayWithAPartOfABlock) {
    expectLastBlock<Philox4x32Generator>(State(7, 0), {0, 0, 2147483392, 0, 0, 0, 0});
}

TEST(ThreeFry4x64, EndsTheLargestArrayWithAPartOfABlock) {
    State atLastBlock(17, 0);
    atLastBlock[9] = 1073741696;
    expectLastBlock<ThreeFry4x64Generator>(State(17, 0), atLastBlock);
}

// The block after the last, which a folded grid may have, begins at 2^32 elements.
TEST(CounterBased, WriteNothingInASpareBlockOfTheLargestArray) {
    auto const expectUntouched = [](auto of, State const& state) {
        using G = typename decltype(of)::Generator;
        setState(state);
        DeviceArray<double> out(elementsPerBlock);
        fillAsBlock<G>(out, 0, lastBlock + 1, gpucommon::rand::blockSize, gpucommon::rand::elementsPerThread,
                       largestN);
        EXPECT_TRUE(out.untouched());
    };
    expectUntouched(testing::Of<Philox4x32Generator>{}, State(7, 0));
    expectUntouched(testing::Of<ThreeFry4x64Generator>{}, State(17, 0));
}

// --- Skipping ahead ---

struct Square {
    testing::Wide at[3][3];
};

Square product(Square const& a, Square const& b, unsigned long m) {
    Square result{};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            for (int k = 0; k < 3; ++k) result.at[r][c] += a.at[r][k] * b.at[k][c];
            result.at[r][c] %= m;
        }
    }
    return result;
}

Square power(Square base, testing::Wide exponent, unsigned long m) {
    Square result{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (; exponent != 0; exponent >>= 1) {
        if (exponent & 1) result = product(result, base, m);
        base = product(base, base, m);
    }
    return result;
}

constexpr unsigned long m1 = testing::Mrg32k3aSequence::m1, m2 = testing::Mrg32k3aSequence::m2;
Square const a1{{{0, 1, 0}, {0, 0, 1}, {m1 - 810728, 1403580, 0}}};
Square const a2{{{0, 1, 0}, {0, 0, 1}, {m2 - 1370589, 0, 527612}}};

// The state `steps` steps later.
State skipped(State const& state, testing::Wide steps) {
    State result;
    for (int component = 0; component < 2; ++component) {
        unsigned long const m = component == 0 ? m1 : m2;
        Square const matrix = power(component == 0 ? a1 : a2, steps, m);
        for (int r = 0; r < 3; ++r) {
            testing::Wide sum = 0;
            for (int k = 0; k < 3; ++k)
                sum += matrix.at[r][k] * state[static_cast<std::size_t>(3 * component + k)];
            result.push_back(static_cast<unsigned int>(sum % m));
        }
    }
    return result;
}

void expectSkips(State const& state, unsigned int start, unsigned int stride) {
    Longs expected;
    for (unsigned int t = 0; t < numThreads; ++t) {
        unsigned int const element = start + t * stride;
        testing::Mrg32k3aSequence sequence(element == 0 ? state : skipped(state, testing::Wide{element} * 2));
        for (int k = 0; k < 4; ++k) expected.push_back(sequence.next());
    }
    testing::expectSameBits(expected, stepsFrom(state, start, stride));
}

TEST(Mrg32k3a, SkipsToAnyElement) {
    State const state = testing::Reference<MRG32K3AGenerator>::randomState(1);
    for (unsigned int start = 1; start != 0; start <<= 1) {
        expectSkips(state, start, 8);
        expectSkips(state, start - 1, 1);
    }
    for (unsigned int start :
         {(1u << 30) - 8, (1u << 30) + 7, 1u << 31, 3u << 30, (3u << 30) + 12345, 0u - 600u}) {
        expectSkips(state, start, 8);
    }
    expectSkips(state, 123, 0x3f00d008);
}

TEST(Mrg32k3a, SkipsAreStepsTakenTogether) {
    State const state(6, 12345);
    Longs const together = stepsFrom(state, 0, 2);
    testing::Mrg32k3aSequence sequence(state);
    for (unsigned long z : together) ASSERT_EQ(sequence.next(), z);
}

// A zero difference of the components is 0, and one below it m1 - 1.
TEST(Mrg32k3a, CombinesTheComponentsModuloTheFirstModulus) {
    EXPECT_EQ(0u, stepsFrom({0, 0, 0, 0, 0, 0}, 0, 0)[0]);
    EXPECT_EQ(1403580u, stepsFrom({0, 1, 0, 0, 0, 0}, 0, 0)[0]);
    EXPECT_EQ(m1 - 527612, stepsFrom({0, 0, 0, 0, 0, 1}, 0, 0)[0]);
    // The largest values of all words.
    unsigned int const x = m1 - 1, y = m2 - 1;
    testing::Mrg32k3aSequence sequence({x, x, x, y, y, y});
    Longs const z = stepsFrom({x, x, x, y, y, y}, 0, 2);
    for (unsigned long value : z) ASSERT_EQ(sequence.next(), value);
}

// The block at element 2^30, all but 24 elements of whose 1024 exist.
TEST(Mrg32k3a, RunsGoOnAtElement2To30) {
    State const state = testing::Reference<MRG32K3AGenerator>::randomState(2);
    constexpr unsigned int blockSize = gpucommon::rand::runBlockSize, runLength = 8, first = 1u << 30;
    setState(state);
    DeviceArray<double> out(blockSize * runLength);
    fillAsBlock<MRG32K3AGenerator>(out, first, first / runLength / blockSize, blockSize, runLength,
                                   first + 1000);
    Doubles expected = testing::streamOf<MRG32K3AGenerator>(skipped(state, testing::Wide{2} * first), 1000);
    expected.resize(out.size(), DeviceArray<double>(1).values()[0]);  // untouched
    testing::expectSameBits(expected, out.values());
}

// A run is a multiple of 8 elements, at least 8.
constexpr unsigned long numRuns = 768;
static_assert(gpucommon::rand::runLengthFor(0, numRuns) == 8);
static_assert(gpucommon::rand::runLengthFor(numRuns * 8, numRuns) == 8);
static_assert(gpucommon::rand::runLengthFor(numRuns * 8 + 1, numRuns) == 16);
static_assert(gpucommon::rand::runLengthFor(numRuns * 16 + 1, numRuns) == 24);

template <class Table>
Table tableOf(Table const& symbol) {
    Table table{};
    EXPECT_EQ(cudaSuccess, cudaMemcpyFromSymbol(&table, symbol, sizeof table));
    return table;
}

using Places = int[7][2];

void expectPowers(gpucommon::rand::mrg32k3a::Powers const& table, Square const& transition,
                  testing::Wide unit, unsigned long m, Places const& kept) {
    for (unsigned int e = 0; e < 71; ++e) {
        Square const expected = power(transition, unit * (e % 7 + 1) << (e / 7 * 3), m);
        for (int i = 0; i < 7; ++i) {
            ASSERT_EQ(static_cast<unsigned int>(expected.at[kept[i][0]][kept[i][1]]), table.entry[e].word[i])
                << e << ", " << i;
        }
    }
}

TEST(Mrg32k3aTables, HoldThePowersOfTheTransitions) {
    Places const first = {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}, {0, 2}};
    Places const second = {{2, 0}, {0, 1}, {0, 0}, {1, 0}, {0, 2}, {1, 2}, {2, 2}};
    testing::Wide const substream = testing::Wide{1} << 76;
    expectPowers(tableOf(MRG32K3A_TRANSITION1), a1, 2, m1, first);
    expectPowers(tableOf(MRG32K3A_TRANSITION2), a2, 2, m2, second);
    expectPowers(tableOf(MRG32K3A_SUBSTREAMTRANSITION1), a1, substream, m1, first);
    expectPowers(tableOf(MRG32K3A_SUBSTREAMTRANSITION2), a2, substream, m2, second);
    auto const starts = tableOf(MRG32K3A_LEVELSTARTS);
    unsigned long expected = 1;
    for (unsigned int start : starts.at) {
        EXPECT_EQ(expected, start);
        expected *= 8;
    }
}

TEST(Mrg32k3aTables, HaveTheirSizes) {
    auto const sizeOf = [](auto const& symbol) {
        std::size_t size = 0;
        EXPECT_EQ(cudaSuccess, cudaGetSymbolSize(&size, symbol));
        return size;
    };
    EXPECT_EQ(44u, sizeOf(MRG32K3A_LEVELSTARTS));
    EXPECT_EQ(1988u, sizeOf(MRG32K3A_TRANSITION1));
    EXPECT_EQ(1988u, sizeOf(MRG32K3A_TRANSITION2));
    EXPECT_EQ(1988u, sizeOf(MRG32K3A_SUBSTREAMTRANSITION1));
    EXPECT_EQ(1988u, sizeOf(MRG32K3A_SUBSTREAMTRANSITION2));
    EXPECT_EQ(68u, sizeOf(RNGInitialState));
}

// --- Conversions ---

template <class T, class Conversion>
std::vector<T> convertedPairs(Doubles u1, Doubles u2) {
    while (u1.size() % numThreads != 0) {
        u1.push_back(0.5);
        u2.push_back(0.5);
    }
    DeviceArray<double> first(u1), second(u2);
    DeviceArray<T> out(2 * u1.size());
    using Kernel = ConvertPairs<T, Conversion>;
    EXPECT_EQ(cudaSuccess, fixed1dblockdetail::launch<Kernel>(nullptr, u1.size(), numThreads, out.data(),
                                                              first.data(), second.data()));
    return out.values();
}

double const smallest = std::ldexp(1.0, -53) - std::ldexp(1.0, -106), largest = 1 - std::ldexp(1.0, -53);

// The uniform values around which an implementation may change its ways: the ends, the powers of two near
// each, the middle, and many between.
Doubles telling() {
    Doubles values{smallest, largest, 0.5, std::nextafter(0.5, 0), std::nextafter(0.5, 1), 0.25, 0.75};
    for (int i = 1; i <= 53; ++i) {
        double const power = std::ldexp(1.0, -i);
        for (double u :
             {power, 1.25 * power, 1.5 * power, std::nextafter(power, 1), std::nextafter(power, 0)}) {
            values.push_back(std::max(u, smallest));
            values.push_back(std::min(1 - u, largest));
            values.push_back(0.5 + u / 2 < 1 ? 0.5 + u / 2 : largest);
        }
    }
    for (int i = 0; i < 20000; ++i) values.push_back((i + 0.37) / 20000);
    return values;
}

double ulpsApart(long double expected, double actual) {
    double const nearest = std::fabs(static_cast<double>(expected));
    if (nearest == 0) return actual == 0 ? 0 : std::numeric_limits<double>::infinity();
    double const ulp = std::nextafter(nearest, std::numeric_limits<double>::infinity()) - nearest;
    return static_cast<double>(std::fabs(static_cast<long double>(actual) - expected)) / ulp;
}

using Inversion = gpucommon::rand::NormalConversionInversion<double>;
using BoxMuller = gpucommon::rand::NormalConversionBoxMuller<double>;

// Three for the inverse error function, and a rounded product with a rounded root of 2.
constexpr double inversionUlps = 4;
// One each for sine, cosine and the logarithm, which the root halves, and two roundings.
constexpr double boxMullerUlps = 2.5;

TEST(NormalConversionInversion, IsAccurateOverTheWholeRange) {
    Doubles const u = telling();
    Doubles const z = convertedPairs<double, Inversion>(u, u);
    for (std::size_t i = 0; i < u.size(); ++i) {
        ASSERT_LE(ulpsApart(testing::inverseNormal(u[i]), z[2 * i]), inversionUlps) << u[i];
        ASSERT_EQ(z[2 * i], z[2 * i + 1]);
    }
}

TEST(NormalConversionInversion, HasFiniteEndsAndIsInfiniteAtZero) {
    Doubles const z = convertedPairs<double, Inversion>({smallest, 0.5}, {largest, 0.0});
    EXPECT_NEAR(-8.2095, z[0], 1e-4);
    EXPECT_NEAR(8.2095, z[1], 1e-4);
    EXPECT_EQ(0.0, z[2]);
    EXPECT_EQ(-std::numeric_limits<double>::infinity(), z[3]);
}

// The smallest values of MRG32k3a that are not 0.
TEST(NormalConversionInversion, ReachesTheTailOfMrg32k3a) {
    double const norm = 2.328306549295728e-10;
    for (double u : {norm * 0x1p-24, 2 * norm * 0x1p-24, norm, 3 * norm}) {
        double const z = convertedPairs<double, Inversion>({u}, {u})[0];
        EXPECT_LE(ulpsApart(testing::inverseNormal(u), z), inversionUlps) << u;
    }
}

TEST(NormalConversionBoxMuller, IsAccurateOverTheWholeRange) {
    Doubles const u1 = telling();
    Doubles const u2(u1.rbegin(), u1.rend());
    Doubles const z = convertedPairs<double, BoxMuller>(u1, u2);
    for (std::size_t i = 0; i < u1.size(); ++i) {
        auto const expected = testing::boxMuller(u1[i], u2[i]);
        ASSERT_LE(ulpsApart(expected[0], z[2 * i]), boxMullerUlps) << u1[i] << ", " << u2[i];
        ASSERT_LE(ulpsApart(expected[1], z[2 * i + 1]), boxMullerUlps) << u1[i] << ", " << u2[i];
    }
}

TEST(NormalConversionBoxMuller, PutsTheCosineFirst) {
    // An eighth of a turn later, the sine is the larger one.
    Doubles const z = convertedPairs<double, BoxMuller>({std::exp(-0.5), std::exp(-0.5)}, {0.0625, 0.1875});
    EXPECT_NEAR(std::cos(std::acos(-1) / 8), z[0], 1e-15);
    EXPECT_NEAR(std::sin(std::acos(-1) / 8), z[1], 1e-15);
    EXPECT_NEAR(std::sin(std::acos(-1) / 8), z[2], 1e-15);
    EXPECT_NEAR(std::cos(std::acos(-1) / 8), z[3], 1e-15);
}

TEST(UniformOf, RunsBetweenItsEnds) {
    Longs values{0, 1, 1ul << 52, (1ul << 53) - 1};
    values.resize(numThreads);
    DeviceArray<unsigned long> integers(values);
    DeviceArray<double> out(numThreads);
    EXPECT_EQ(cudaSuccess, fixed1dblockdetail::launch<WriteUniforms>(nullptr, numThreads, numThreads,
                                                                     out.data(), integers.data()));
    Doubles u = out.values();
    u.resize(4);
    EXPECT_EQ((Doubles{0x1.fffffffffffffp-54, 0x1.fffffffffffffp-53, 0.5, 0x1.fffffffffffffp-1}), u);
}

// A float is rounded once, at the end, with no clamp: the largest uniform values become 1.
TEST(RandConversion, RoundsAFloatToNearest) {
    using Rand = gpucommon::rand::RandConversion<float>;
    double const tie = 1 - std::ldexp(1.0, -25);
    std::vector<float> const values =
        convertedPairs<float, Rand>({largest, tie, std::nextafter(tie, 0)}, {smallest, 0.1, 1.0 / 3});
    EXPECT_EQ(1.0f, values[0]);
    EXPECT_EQ(static_cast<float>(smallest), values[1]);
    EXPECT_EQ(1.0f, values[2]);
    EXPECT_EQ(0.1f, values[3]);
    EXPECT_EQ(std::nextafter(1.0f, 0.0f), values[4]);
    EXPECT_EQ(1.0f / 3, values[5]);
}

}  // namespace
}  // namespace gpuruntime
