#pragma once

// What the CUDA compiler's header of this name gives a unit: the runtime's typed calls and the device
// language.

#include "../runtime/cuda_runtime.h"
#include "device_language.hpp"
