#include "frame/device_properties.hpp"

#include <utility>

namespace gpuruntime::internal {
namespace {

struct Holder {
    gpucommon::CUDADeviceProperties* slot = nullptr;
    ~Holder() { delete slot; }
};

Holder& holder() {
    static Holder instance;
    return instance;
}

}  // namespace

void storeCurrentDeviceProperties(gpucommon::CUDADeviceProperties const& properties) {
    auto* fresh = new gpucommon::CUDADeviceProperties(properties);
    delete std::exchange(holder().slot, fresh);
}

gpucommon::CUDADeviceProperties const* getCurrentDeviceProperties() { return holder().slot; }

}  // namespace gpuruntime::internal
