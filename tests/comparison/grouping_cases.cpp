#include <gpuruntime/grouping.hpp>

#include <algorithm>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class T>
struct Grouping {
    static void run(Case& call) {
        Elements<T> data = call.values<T>(call.number(1, 5000));
        auto const numbers = std::partition(data.begin(), data.end(), [](T x) { return x == x; });
        std::sort(data.begin(), numbers);
        double const tol = call.real(0, 100);
        DeviceArray<T> in(data);
        DeviceArray<bool> flags(data.size());
        typename FindGroupsUniquetol::Invoker<T>()(nullptr, data.size(), flags.data(), in.data(), tol);
        call.result(flags);
        Elements<double> starts;
        auto const found = flags.values();
        for (unsigned long i = 0; i < found.size(); ++i) {
            if (found[i]) starts.push_back(static_cast<double>(i + 1));
        }
        DeviceArray<double> groupStarts(starts);
        typename Family::template Invoker<T>()(nullptr, starts.size(), data.size(), flags.data(),
                                               groupStarts.data(), in.data(), tol);
        call.result(flags);
    }
};

bool const areAdded = [] {
    addCases<Grouping, RefineGroupsUniquetol>(internal::FloatingReal{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
