#pragma once

#include <gpuruntime/types.hpp>

namespace gpucommon::rand {

/// The generators, which the families below take as their argument. The engine owns a generator's state, an
/// array of 32-bit words in host memory, and passes it to every call. A call reads the state and never
/// changes it: to go on with a stream after `n` elements, the engine moves the state on by itself, as told at
/// each generator.

/// The combined multiple recursive generator MRG32k3a (P. L'Ecuyer, "Good parameters and implementations for
/// combined multiple recursive random number generators", Operations Research 47, 1999). Each element takes
/// two steps.
///
/// State, 6 words: x[n-3], x[n-2], x[n-1], each below m1 = 4294967087, then y[n-3], y[n-2], y[n-1], each
/// below m2 = 4294944443; neither three all zero. A word that is not below its modulus is not detected. After
/// `n` elements: x and y are advanced by 2 `n` steps.
struct MRG32K3AGenerator;

/// The counter-based generator Philox-4x32 with 10 rounds (J. K. Salmon and others, "Parallel random numbers:
/// as easy as 1, 2, 3", SC11). The block of one counter value gives two elements.
///
/// State, 7 words: the key k0, k1; the 128-bit counter c0 to c3, least significant first; the sub-position,
/// of which only bit 0 is read: how many elements of the counter's block the stream has used. After `n`
/// elements: the counter is raised by (sub + `n`) / 2, and the sub-position is (sub + `n`) mod 2.
struct Philox4x32Generator;

/// The counter-based generator Threefry-4x64 with 20 rounds, of the same paper. The block of one counter
/// value gives four elements.
///
/// State, 17 words: the key k0 to k3, then the 256-bit counter c0 to c3, least significant first, each value
/// as two words with the high one first; the sub-position, of which only bits 0 and 1 are read. After `n`
/// elements: the counter is raised by (sub + `n`) / 4, and the sub-position is (sub + `n`) mod 4.
struct ThreeFry4x64Generator;

}  // namespace gpucommon::rand

namespace gpuruntime {

/// What holds for the random families:
/// - `out` receives `n` elements, `n` below 2^32, none if `n` is 0. `state` is host memory, read before the
///   call returns or, for pinned memory, before the stream has passed the call.
/// - Element i is the i-th of the stream that begins at the state, whatever the launch shape, the device and
///   `n`.
/// - Each element has a uniform value u in double precision. From Philox and Threefry, u = fma(v, c, c) with
///   a 53-bit integer v and c = 2^-53 - 2^-106, so u runs from c to 1 - 2^-53, both included. From MRG32k3a,
///   u lies in [0, 1), 0 included.
/// - All arithmetic is in double precision and agrees bit for bit between devices, but for the logarithm,
///   sine, cosine and inverse error function of the normal values, which are the device's: those may differ
///   in the last places.
/// - The result is the status of the first runtime call that failed; if that was the copy of the state,
///   nothing is launched. The state goes through one device variable for each generator: two calls on
///   different streams may see each other's, so the engine keeps them in order. No call blocks.
/// - The launch of MRG32k3a is as wide as the device: a stored device record without multiprocessors gives
///   success and no output.

/// Uniform values: u, for `float` rounded to nearest. A `double` from Philox or Threefry is never 0 and never
/// 1; a `float` can be 1 from any generator.
///
/// Types: `double`, `float`; generators: all three.
///
/// Example: Philox with key 0, counter 0 and sub-position 0, `n` 6, in `double` gives, to four places,
/// 0.3990, 0.7357, 0.9722, 0.6939, 0.0194, 0.1409.
template <class Generator>
struct Rand {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, unsigned int* state, unsigned long n) const;
    };
};

/// Uniform integers from `lowest` to `highest`, both included: floor((`highest` - `lowest` + 1) u) +
/// `lowest`, each operation rounded in double precision. In integer types the value is rounded half away from
/// zero, where a bound was no integer, and saturates; NaN gives 0. A `float` is rounded to nearest. Bounds
/// are not checked: with `highest` below `lowest` the formula runs on, and a NaN bound gives NaN in `double`
/// and `float`.
///
/// Types: `double`, `float`, and the eight integer types of 1 to 8 bytes; generators: all three.
///
/// Example: as above with `lowest` 1 and `highest` 6, in `int` gives 3, 5, 6, 5, 1, 1.
template <class Generator>
struct RandI {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, unsigned int* state, double lowest, double highest,
                             unsigned long n) const;
    };
};

/// Standard normal values by inversion: -sqrt(2) erfcinv(2 u), for `float` rounded to nearest at the end.
/// From MRG32k3a, u = 0 gives negative infinity; the values of the other generators lie within about 8.2 of
/// 0.
///
/// Types: `double`, `float`; generators: all three.
///
/// Example: as above, in `double` gives, to four places, -0.2558, 0.6302, 1.9148, 0.5070, -2.0653,
/// -1.0761.
template <class Generator>
struct RandNInversion {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, unsigned int* state, unsigned long n) const;
    };
};

/// Standard normal values by the method of Box and Muller (Annals of Mathematical Statistics 29, 1958): of
/// two neighbouring uniform values of one block, u1 and u2, come r cos(theta) and r sin(theta), in this
/// order, with r = sqrt(-2 ln u1) and theta = 2 pi u2; for `float` rounded to nearest at the end. A pair
/// belongs to its block: a stream that begins at an odd sub-position begins with r sin(theta).
///
/// Types: `double`, `float`; generators: `Philox4x32Generator` and `ThreeFry4x64Generator`.
///
/// Example: as above, in `double` gives, to four places, -0.1215, -1.3500, -0.0819, -0.2227, 1.7764,
/// 2.1735.
template <class Generator>
struct RandNBoxMuller {
    template <class T>
    struct Invoker {
        cudaError operator()(CUstream_st* stream, T* out, unsigned int* state, unsigned long n) const;
    };
};

/// Emit the operators in this library; not for calling.
void _forceInstantiation_(detail::Opaque&, Rand<gpucommon::rand::MRG32K3AGenerator>*);
void _forceInstantiation_(detail::Opaque&, Rand<gpucommon::rand::Philox4x32Generator>*);
void _forceInstantiation_(detail::Opaque&, Rand<gpucommon::rand::ThreeFry4x64Generator>*);
void _forceInstantiation_(detail::Opaque&, RandI<gpucommon::rand::MRG32K3AGenerator>*);
void _forceInstantiation_(detail::Opaque&, RandI<gpucommon::rand::Philox4x32Generator>*);
void _forceInstantiation_(detail::Opaque&, RandI<gpucommon::rand::ThreeFry4x64Generator>*);
void _forceInstantiation_(detail::Opaque&, RandNInversion<gpucommon::rand::MRG32K3AGenerator>*);
void _forceInstantiation_(detail::Opaque&, RandNInversion<gpucommon::rand::Philox4x32Generator>*);
void _forceInstantiation_(detail::Opaque&, RandNInversion<gpucommon::rand::ThreeFry4x64Generator>*);
void _forceInstantiation_(detail::Opaque&, RandNBoxMuller<gpucommon::rand::Philox4x32Generator>*);
void _forceInstantiation_(detail::Opaque&, RandNBoxMuller<gpucommon::rand::ThreeFry4x64Generator>*);

}  // namespace gpuruntime
