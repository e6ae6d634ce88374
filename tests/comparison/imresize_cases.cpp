#include <gpuruntime/imresize.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class T>
struct Resizes {
    static void run(Case& call) {
        unsigned long const inRows = call.number(1, 60), inCols = call.number(1, 60);
        unsigned long const outRows = call.number(1, 300), outCols = call.number(1, 20);
        unsigned long const numPlanes = call.number(1, 5);
        auto const scale = [&](unsigned long out, unsigned long in) {
            return call.flag() ? double(out) / double(in)
                               : 0.1 + call.real(0.1, 3);  // 0 would have taps without end
        };
        double const scaleRows = scale(outRows, inRows), scaleCols = scale(outCols, inCols);
        DeviceArray<T> in(call.values<T>(inRows * inCols * numPlanes)), out(outRows * outCols * numPlanes);
        typename Family::template Invoker<T>()(nullptr, out.data(), in.data(), inRows, inCols, outRows,
                                               outCols, numPlanes, scaleRows, scaleCols);
        call.result(out);
    }
};

int const registered = [] {
    addCases<Resizes, Imresize>(internal::FloatingReal{});
    return 0;
}();

}  // namespace
}  // namespace gpuruntime::comparison
