// Writes a random stream as raw 32-bit words to standard output without end, for test batteries.
//
//   random_words <philox | threefry | mrg32k3a> <uniform | bits | integers | inversion | box-muller> [<seed>]
//
// The stream is put together as an engine would: calls of changing lengths, the state moved on after each. A
// uniform value gives its leading 32 bits, or, as `bits`, all its 53, which follow on those of the value
// before; a normal value gives the leading bits of its place in the distribution.

#include <gpuruntime/random.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using gpucommon::rand::MRG32K3AGenerator;
using gpucommon::rand::Philox4x32Generator;
using gpucommon::rand::ThreeFry4x64Generator;
using Words = std::vector<unsigned int>;

constexpr unsigned long longestCall = 1 << 20;

Words seeded(std::size_t numWords, unsigned long seed) {
    std::mt19937_64 engine(seed);
    Words words(numWords);
    for (unsigned int& word : words)
        word = static_cast<unsigned int>(engine() % 4294944443);  // below both moduli
    return words;
}

/// A generator's state that moves on.
template <class G>
struct Stream;

template <>
struct Stream<MRG32K3AGenerator> {
    Words words;
    explicit Stream(unsigned long seed) : words(seeded(6, seed)) {}
    void moveOn(unsigned long n) {
        unsigned long const m1 = 4294967087, m2 = 4294944443;
        for (unsigned long i = 0; i < 2 * n; ++i) {
            unsigned long const x = (1403580ul * words[1] + (m1 - 810728) * words[0] % m1) % m1;
            unsigned long const y = (527612ul * words[5] + (m2 - 1370589) * words[3] % m2) % m2;
            words = {words[1], words[2], static_cast<unsigned int>(x),
                     words[4], words[5], static_cast<unsigned int>(y)};
        }
    }
};

template <>
struct Stream<Philox4x32Generator> {
    Words words;
    explicit Stream(unsigned long seed) : words(seeded(7, seed)) {
        std::fill(words.begin() + 2, words.end(), 0);
    }
    void moveOn(unsigned long n) {
        unsigned long carry = (words[6] + n) / 2;
        words[6] = static_cast<unsigned int>((words[6] + n) % 2);
        for (std::size_t i = 2; i < 6; ++i) {
            carry += words[i];
            words[i] = static_cast<unsigned int>(carry);
            carry >>= 32;
        }
    }
};

template <>
struct Stream<ThreeFry4x64Generator> {
    Words words;
    explicit Stream(unsigned long seed) : words(seeded(17, seed)) {
        std::fill(words.begin() + 8, words.end(), 0);
    }
    void moveOn(unsigned long n) {
        unsigned long carry = (words[16] + n) / 4;
        words[16] = static_cast<unsigned int>((words[16] + n) % 4);
        for (std::size_t i : {9, 8, 11, 10, 13, 12, 15, 14}) {  // the high word stands first
            carry += words[i];
            words[i] = static_cast<unsigned int>(carry);
            carry >>= 32;
        }
    }
};

unsigned int leadingBits(double u) { return static_cast<unsigned int>(std::min(u * 0x1p32, 0x1p32 - 1)); }

/// Appends the 53 bits of each uniform value, as far as they fill words. From the counter-based generators
/// they are the very integer that the value was made of.
class BitWriter {
  public:
    void operator()(double u, Words& words) {
        bits = bits << 53 | static_cast<unsigned long>(u * 0x1p53);
        for (numBits += 53; numBits >= 32; numBits -= 32) {
            words.push_back(static_cast<unsigned int>(bits >> (numBits - 32)));
        }
    }

  private:
    unsigned __int128 bits = 0;  // the last `numBits` are yet to be appended
    unsigned int numBits = 0;
};

/// The part of the normal distribution below `z`.
double partBelow(double z) { return std::erfc(-z / std::sqrt(2.0)) / 2; }

/// `append` adds a value's words to those that are there.
template <class T, class G, class Call, class Append>
void writeForEver(Stream<G> stream, Call call, Append append) {
    bench::DeviceMemory<T> out(longestCall);
    std::vector<T> values(longestCall);
    Words words;
    for (unsigned long n = longestCall - 1;; n = n > longestCall / 2 ? n - 12345 : longestCall - 2) {
        bench::check(call(out.data(), stream.words.data(), n));
        bench::check(cudaMemcpy(values.data(), out.data(), n * sizeof(T), cudaMemcpyDeviceToHost));
        words.clear();
        for (unsigned long i = 0; i < n; ++i) append(values[i], words);
        if (std::fwrite(words.data(), sizeof(unsigned int), words.size(), stdout) != words.size())
            return;  // the battery has had enough
        stream.moveOn(n);
    }
}

template <class G>
bool write(std::string const& distribution, unsigned long seed) {
    Stream<G> const stream(seed);
    auto const uniform = [](double* out, unsigned int* state, unsigned long n) {
        return typename Rand<G>::template Invoker<double>()(nullptr, out, state, n);
    };
    auto const appendUniform = [](double u, Words& words) { words.push_back(leadingBits(u)); };
    auto const appendNormal = [](double z, Words& words) { words.push_back(leadingBits(partBelow(z))); };
    if (distribution == "uniform") {
        writeForEver<double>(stream, uniform, appendUniform);
    } else if (distribution == "bits") {
        writeForEver<double>(stream, uniform, BitWriter());
    } else if (distribution == "integers") {
        writeForEver<unsigned int>(
            stream,
            [](unsigned int* out, unsigned int* state, unsigned long n) {
                return typename RandI<G>::template Invoker<unsigned int>()(nullptr, out, state, 0, 0x1p32 - 1,
                                                                           n);
            },
            [](unsigned int value, Words& words) { words.push_back(value); });
    } else if (distribution == "inversion") {
        writeForEver<double>(
            stream,
            [](double* out, unsigned int* state, unsigned long n) {
                return typename RandNInversion<G>::template Invoker<double>()(nullptr, out, state, n);
            },
            appendNormal);
    } else if (distribution == "box-muller") {
        if constexpr (std::is_same_v<G, MRG32K3AGenerator>) {
            return false;
        } else {
            writeForEver<double>(
                stream,
                [](double* out, unsigned int* state, unsigned long n) {
                    return typename RandNBoxMuller<G>::template Invoker<double>()(nullptr, out, state, n);
                },
                appendNormal);
        }
    } else {
        return false;
    }
    return true;
}

}  // namespace
}  // namespace gpuruntime

int main(int argc, char** argv) {
    using namespace gpuruntime;
    std::string const generator = argc > 1 ? argv[1] : "", distribution = argc > 2 ? argv[2] : "";
    unsigned long const seed = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 1;
    bool known = false;
    if (generator == "philox") known = write<Philox4x32Generator>(distribution, seed);
    if (generator == "threefry") known = write<ThreeFry4x64Generator>(distribution, seed);
    if (generator == "mrg32k3a") known = write<MRG32K3AGenerator>(distribution, seed);
    if (!known) {
        std::fputs(
            "usage: random_words <philox | threefry | mrg32k3a> "
            "<uniform | bits | integers | inversion | box-muller> [<seed>]\n",
            stderr);
        return 2;
    }
}
