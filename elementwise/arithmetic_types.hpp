#pragma once

#include "frame/type_lists.hpp"

/// The element types of arithmetic whose integers saturate, each width and sign in its own way.
namespace gpuruntime::internal {

/// Those with a product: there is no wider type than 64 bits.
using Multiplied =
    Concatenate<Floating, With<Built<signed char, unsigned char, short, unsigned short, int, unsigned int>,
                               unsigned char, unsigned int>>;

using Subtracted = Concatenate<With<RealNumeric, unsigned char, long>, FloatingComplex>;

}  // namespace gpuruntime::internal
