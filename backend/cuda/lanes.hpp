#pragma once

#include <cmath>

#include "conversion.hpp"
#include "device.hpp"
#include "math.hpp"

/// Values of neighbouring threads, one per lane; on this device a lane is a whole thread, and its values are
/// scalars.
namespace gpuruntime::backend {

inline constexpr unsigned int laneCount = 1;
using WordLanes = unsigned long;
using DoubleLanes = double;

/// Calls `f(t)` for the first thread `t` of every group of `laneCount`; no barrier follows. The block's size
/// is a multiple of `laneCount`.
template <class F>
GPU_DEVICE void forEachLanes(Threads const& threads, F f) {
    threads.forEach(f);
}

GPU_DEVICE WordLanes wordLanes(unsigned long value) { return value; }
GPU_DEVICE DoubleLanes doubleLanes(double value) { return value; }

/// `first`, `first` + 1, and so on.
GPU_DEVICE WordLanes countedFrom(unsigned long first) { return first; }

GPU_DEVICE unsigned long lane(WordLanes values, unsigned int /*i*/) { return values; }
GPU_DEVICE double lane(DoubleLanes values, unsigned int /*i*/) { return values; }
GPU_DEVICE void setLane(WordLanes& values, unsigned int /*i*/, unsigned long value) { values = value; }
GPU_DEVICE void setLane(DoubleLanes& values, unsigned int /*i*/, double value) { values = value; }

/// The 64-bit product of the low 32 bits of each factor.
GPU_DEVICE WordLanes wideProduct(WordLanes a, WordLanes b) {
    return static_cast<unsigned long>(static_cast<unsigned int>(a)) * static_cast<unsigned int>(b);
}

/// Whether a comparison holds in all lanes.
GPU_DEVICE bool all(bool holds) { return holds; }

/// The exact value of an integer below 2^53.
GPU_DEVICE DoubleLanes exactDouble(WordLanes integer) { return static_cast<double>(integer); }

/// The low 32 bits of an integer, negative ones in two's complement; the rest of the lane is of no meaning.
/// The integer lies within 2^32 of 0.
GPU_DEVICE WordLanes lowWord(DoubleLanes integer) { return static_cast<unsigned long>(toInt64(integer)); }

/// As `toInt64` and `toUint64` of one value, for values that are integers: saturating, and the value must not
/// be NaN.
GPU_DEVICE WordLanes integerToUint64(DoubleLanes x) { return toUint64(x); }
GPU_DEVICE WordLanes integerToInt64(DoubleLanes x) { return static_cast<unsigned long>(toInt64(x)); }

}  // namespace gpuruntime::backend
