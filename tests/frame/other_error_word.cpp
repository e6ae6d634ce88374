#include "tests/frame/other_error_word.hpp"

#include "frame/elementwise.hpp"
#include "frame/error_word.hpp"

namespace gpuruntime::testing {
namespace {

GPU_DEVICE_VARIABLE(unsigned int, __KVX_PTX_ERROR_CODE);

struct ReportKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position, unsigned int code) {
        internal::reportError(__KVX_PTX_ERROR_CODE, code);
    }
};

}  // namespace

void reportInAnotherUnit(unsigned int code) {
    static_cast<void>(internal::resetErrorWord(__KVX_PTX_ERROR_CODE, nullptr));
    elementwisedetail::launch<ReportKernel>(nullptr, 1, code);
}

unsigned int errorFlagOfAnotherUnit() { return internal::readErrorWord(__KVX_PTX_ERROR_CODE, nullptr); }

}  // namespace gpuruntime::testing
