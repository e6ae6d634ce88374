#include <gpuruntime/histograms.hpp>

#include <algorithm>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class T>
struct Histogram {
    static void run(Case& call) {
        unsigned long const columns = call.number(1, 40), pages = call.number(1, 3),
                            rows = call.number(1, 1 + 20000 / (columns * pages)),
                            numBins = call.number(1, 1000);
        DeviceArray<T> data(call.values<T>(columns * rows * pages));
        DeviceArray<double> indices(columns * rows * pages);
        DeviceArray<unsigned int> counts(Elements<unsigned int>(numBins * columns * pages, 0));
        typename Family::template Invoker<T> const family;
        double* const wanted = call.flag() ? indices.data() : nullptr;
        if constexpr (std::is_same_v<Family, HistCGeneralForm>) {
            Elements<T> edges = call.values<T>(numBins);
            for (T& edge : edges) edge = edge == edge ? edge : T(0);
            std::sort(edges.begin(), edges.end());
            DeviceArray<T> list(edges);
            family(nullptr, counts.data(), wanted, data.data(), list.data(), numBins, columns, rows, pages);
        } else {
            T const ends[] = {static_cast<T>(call.real(-1000, 1000)), static_cast<T>(call.real(-1000, 1000))};
            family(nullptr, counts.data(), wanted, data.data(), ends, numBins, columns, rows, pages);
        }
        call.result(counts);
        call.result(indices);
    }
};

bool const areAdded = [] {
    addCases<Histogram, HistCGeneralForm>(internal::FloatingReal{});
    addCases<Histogram, HistCColonForm>(internal::FloatingReal{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
