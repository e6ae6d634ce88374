#pragma once

// Without this Thrust takes the toolkit, which this device does without, for its device system.
#define THRUST_DEVICE_SYSTEM THRUST_DEVICE_SYSTEM_TBB

#include <thrust/system/detail/bad_alloc.h>
#include <thrust/system/system_error.h>

/// What Thrust throws, which callers catch on either device. Of its algorithms this device has its own.
