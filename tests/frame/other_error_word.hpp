#pragma once

namespace gpuruntime::testing {

/// Resets the error word of a unit of its own and reports a code to it.
void reportInAnotherUnit(unsigned int code);

unsigned int errorFlagOfAnotherUnit();

}  // namespace gpuruntime::testing
