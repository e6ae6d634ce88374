#include "device_language.hpp"

#include <cmath>

#include "accesses.hpp"

namespace gpuruntime::fibers {

// Not all 0: among the variables without initial value stand the blocks' shared ones.
BuiltIn builtIn = {{1, 0, 0}, {}, {}, {}};

hostdevice::Texture textureOf(cudaTextureObject_t object) { return hostdevice::textureOf(object); }

namespace {

template <class Change>
unsigned int atomically(unsigned int* word, void const* site, Change change) {
    access(word, sizeof *word, {true, true}, site);
    unsigned int const old = *word;
    *word = change(old);
    return old;
}

template <class T>
T maximum(T a, T b) {
    if (a != a || b != b) return a != a ? b : a;
    return a == b ? (std::signbit(a) ? b : a) : (a > b ? a : b);
}

template <class T>
T minimum(T a, T b) {
    if (a != a || b != b) return a != a ? b : a;
    return a == b ? (std::signbit(a) ? a : b) : (a < b ? a : b);
}

}  // namespace
}  // namespace gpuruntime::fibers

using namespace gpuruntime::fibers;

unsigned int atomicCAS(unsigned int* word, unsigned int expected, unsigned int desired) {
    return atomically(word, __builtin_return_address(0),
                      [=](unsigned int old) { return old == expected ? desired : old; });
}

unsigned int atomicAdd(unsigned int* word, unsigned int amount) {
    return atomically(word, __builtin_return_address(0), [=](unsigned int old) { return old + amount; });
}

unsigned int atomicAnd(unsigned int* word, unsigned int mask) {
    return atomically(word, __builtin_return_address(0), [=](unsigned int old) { return old & mask; });
}

unsigned int atomicOr(unsigned int* word, unsigned int mask) {
    return atomically(word, __builtin_return_address(0), [=](unsigned int old) { return old | mask; });
}

unsigned int atomicMax(unsigned int* word, unsigned int value) {
    return atomically(word, __builtin_return_address(0),
                      [=](unsigned int old) { return old < value ? value : old; });
}

// In place of the C library's, which do not tell the zeros apart: on a GPU +0 is above -0.
extern "C" {
double fmax(double a, double b) noexcept { return maximum(a, b); }
double fmin(double a, double b) noexcept { return minimum(a, b); }
float fmaxf(float a, float b) noexcept { return maximum(a, b); }
float fminf(float a, float b) noexcept { return minimum(a, b); }
}
