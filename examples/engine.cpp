// A host engine in one file: it owns the device memory, tells the library about the device, makes a range on
// the device, checks it, and frees what it took. It builds unchanged against the library of either device.

#include <cuda_runtime.h>
#include <gpuruntime/current_device.hpp>
#include <gpuruntime/ranges.hpp>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

void check(cudaError status, char const* step) {
    if (status == cudaSuccess) return;
    std::fprintf(stderr, "%s: %s\n", step, cudaGetErrorString(status));
    std::exit(1);
}

}  // namespace

int main() {
    check(gpuruntime::useCurrentDevice(), "reading the device's properties");

    unsigned long const n = 11;
    double* range = nullptr;
    check(cudaMalloc(&range, n * sizeof(double)), "allocating");

    // The operator returns nothing: what went wrong, the runtime tells.
    gpuruntime::Colon::Invoker<double>()(nullptr, n, range, 0.0, 0.1, 1.0);
    check(cudaGetLastError(), "launching");

    std::vector<double> values(n);
    check(cudaMemcpy(values.data(), range, n * sizeof(double), cudaMemcpyDeviceToHost), "copying");
    check(cudaFree(range), "freeing");

    for (double value : values) std::printf("%.17g\n", value);
    bool const exactEnds = values.front() == 0.0 && values[5] == 0.5 && values.back() == 1.0;
    if (!exactEnds) std::fprintf(stderr, "the ends of the range are not exact\n");
    return exactEnds ? 0 : 1;
}
