#pragma once

#include <cuda_runtime.h>
#include <gtest/gtest.h>

#include <host_device.hpp>

/// Every test starts from the device's defaults and leaves them behind.
class HostDevice : public testing::Test {
  protected:
    HostDevice() { reset(); }
    ~HostDevice() override { reset(); }

  private:
    static void reset() {
        gpuruntime::hostdevice::clearFailures();
        gpuruntime::hostdevice::setLimits({});
        cudaGetLastError();
    }
};
