#include <gpuruntime/accumulation.hpp>

#include "comparison.hpp"
#include "segments.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class T>
struct Scan {
    static void run(Case& call) {
        Segments const segments(call);
        DeviceArray<T> data(call.values<T>(segments.numElements)), totals(segments.count());
        call.result(typename Family::template Invoker<T>()(
            nullptr, totals.data(), data.data(), segments.numElements, segments.length, segments.stride));
        call.result(data);
        call.result(totals);
    }
};

template <class Family, class T>
struct Adjustment {
    static void run(Case& call) {
        Segments const segments(call);
        DeviceArray<T> data(call.values<T>(segments.numElements)), totals(call.values<T>(segments.count()));
        unsigned long const segmentsPerGroup = call.number(1, segments.count() + 1);
        call.result(typename Family::template Invoker<T>()(nullptr, totals.data(), data.data(),
                                                           segments.numElements, segments.length,
                                                           segmentsPerGroup, segments.stride));
        call.result(data);
    }
};

bool const areAdded = [] {
    addCases<Scan, CumSum>(internal::All{});
    addCases<Scan, CumProd>(internal::All{});
    addCases<Scan, CumMax>(internal::Ordered{});
    addCases<Scan, CumMin>(internal::Ordered{});
    addCases<Adjustment, CumSumAdjust>(internal::All{});
    addCases<Adjustment, CumProdAdjust>(internal::All{});
    addCases<Adjustment, CumMaxAdjust>(internal::Ordered{});
    addCases<Adjustment, CumMinAdjust>(internal::Ordered{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
