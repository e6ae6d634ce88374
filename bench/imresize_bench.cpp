// Images resized: bytes read and written per second. `Copy`, a plain loop that reads and writes on all cores,
// is the roof. Names have the factor and the number of planes.

#include <benchmark/benchmark.h>
#include <gpuruntime/imresize.hpp>

#include <cmath>
#include <sstream>

#include "bench/pairs.hpp"
#include "bench/support.hpp"

namespace gpuruntime {
namespace {

using bench::add;
using bench::DeviceMemory;
using bench::measure;

constexpr unsigned long rows = 1920, cols = 1080;

template <class T>
void addResize(double scaleRows, double scaleCols, unsigned long numPlanes) {
    std::ostringstream name;
    name << bench::nameOf<T>("Imresize") << "/" << scaleRows << "x" << scaleCols << "/" << numPlanes;
    add(name.str(), [=](benchmark::State& state) {
        auto const outRows = static_cast<unsigned long>(std::lround(rows * scaleRows));
        auto const outCols = static_cast<unsigned long>(std::lround(cols * scaleCols));
        unsigned long const n = rows * cols * numPlanes, numResults = outRows * outCols * numPlanes;
        std::vector<T> image(n);
        for (unsigned long i = 0; i < n; ++i) image[i] = static_cast<T>(i % 127);
        DeviceMemory<T> in(image), out(numResults);
        measure(state, (n + numResults) * sizeof(T), [&] {
            Imresize::Invoker<T>()(nullptr, out.data(), in.data(), rows, cols, outRows, outCols, numPlanes,
                                   scaleRows, scaleCols);
        });
    });
}

template <class T>
void addResizes() {
    for (double const scale : {2.0, 1.5, 1.0, 0.5, 0.3, 0.2, 0.1}) {
        for (unsigned long const numPlanes : {1, 3}) addResize<T>(scale, scale, numPlanes);
    }
    addResize<T>(2, 0.5, 1);
    addResize<T>(0.5, 2, 1);
}

int const registered = [] {
    add("Copy", bench::copy);
    bench::forEachType(internal::FloatingReal{}, [](auto type) { addResizes<decltype(type)>(); });
    return 0;
}();

}  // namespace
}  // namespace gpuruntime
