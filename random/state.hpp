#pragma once

#include "device.hpp"

/// The state that the running call began with, in its generator's layout; the words beyond that layout are
/// not read.
struct RNGInitialStateWords {
    unsigned int word[17];
};

GPU_CONSTANT_VARIABLE(RNGInitialStateWords, RNGInitialState);
