// How a host engine keeps a random stream: it seeds a generator's state, passes it to each call, and moves it
// on by what the call used. Two calls then give what one longer call gives.

#include <cuda_runtime.h>
#include <gpuruntime/current_device.hpp>
#include <gpuruntime/random.hpp>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using gpucommon::rand::Philox4x32Generator;

void check(cudaError status, char const* step) {
    if (status == cudaSuccess) return;
    std::fprintf(stderr, "%s: %s\n", step, cudaGetErrorString(status));
    std::exit(1);
}

/// A stream of Philox: the state's words are the key, the counter and the sub-position.
class Stream {
  public:
    /// Different seeds give different streams. The counter starts at 0.
    explicit Stream(unsigned long seed)
        : words{static_cast<unsigned int>(seed), static_cast<unsigned int>(seed >> 32), 0, 0, 0, 0, 0} {}

    /// `n` uniform values, after which the stream stands `n` elements further.
    std::vector<double> uniform(unsigned long n) {
        double* out = nullptr;
        check(cudaMalloc(&out, n * sizeof(double)), "allocating");
        check(gpuruntime::Rand<Philox4x32Generator>::Invoker<double>()(nullptr, out, words, n), "drawing");
        std::vector<double> values(n);
        check(cudaMemcpy(values.data(), out, n * sizeof(double), cudaMemcpyDeviceToHost), "copying");
        check(cudaFree(out), "freeing");
        moveOn(n);
        return values;
    }

  private:
    /// A counter value gives two elements; what is over stands in the sub-position.
    void moveOn(unsigned long n) {
        unsigned long const position = words[6] + n;
        words[6] = static_cast<unsigned int>(position % 2);
        unsigned long carry = position / 2;
        for (int i = 2; i < 6; ++i) {
            carry += words[i];
            words[i] = static_cast<unsigned int>(carry);
            carry >>= 32;
        }
    }

    unsigned int words[7];
};

}  // namespace

int main() {
    check(gpuruntime::useCurrentDevice(), "reading the device's properties");

    std::vector<double> const together = Stream(42).uniform(10);
    Stream stream(42);
    std::vector<double> inTwo = stream.uniform(3);
    for (double value : stream.uniform(7)) inTwo.push_back(value);

    for (double value : inTwo) std::printf("%.17g\n", value);
    if (inTwo != together) std::fprintf(stderr, "the stream did not go on where it stood\n");
    return inTwo == together ? 0 : 1;
}
