#include <gpuruntime/reductions.hpp>

#include "comparison.hpp"
#include "segments.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class T>
struct Reduction {
    using Invoker = typename Family::template Invoker<T>;
    using Out = decltype(outOf(&Invoker::operator()));

    static void run(Case& call) {
        Segments const segments(call);
        DeviceArray<T> in(call.values<T>(segments.numElements));
        DeviceArray<Out> out(segments.count());
        bool const includeNaN = call.flag();
        if constexpr (std::is_invocable_v<Invoker, CUstream_st*, Out*, T*, unsigned long, unsigned long>) {
            call.result(Invoker()(nullptr, out.data(), in.data(), segments.numElements, segments.length));
        } else {
            call.result(Invoker()(nullptr, out.data(), in.data(), segments.numElements, segments.length,
                                  segments.stride, includeNaN));
        }
        call.result(out);
    }
};

template <class Family, class T>
struct IndexedReduction {
    static void run(Case& call) {
        Segments const segments(call);
        DeviceArray<T> in(call.values<T>(segments.numElements)), out(segments.count());
        DeviceArray<double> outIndex(segments.count());
        unsigned long const segmentsPerGroup = call.number(1, segments.count() + 1);
        bool const includeNaN = call.flag();
        call.result(typename Family::template Invoker<T>()(nullptr, out.data(), outIndex.data(), in.data(),
                                                           segments.numElements, segments.length,
                                                           segmentsPerGroup, segments.stride, includeNaN));
        call.result(out);
        call.result(outIndex);
    }
};

bool const areAdded = [] {
    addCases<Reduction, SumNative>(internal::All{});
    addCases<Reduction, SumAsDouble>(internal::All{});
    addCases<Reduction, ProdNative>(internal::All{});
    addCases<Reduction, ProdAsDouble>(internal::All{});
    addCases<Reduction, All>(internal::All{});
    addCases<Reduction, Any>(internal::All{});
    addCases<Reduction, CountNonZero>(internal::All{});
    addCases<Reduction, HasInf>(internal::Floating{});
    addCases<Reduction, HasNaN>(internal::Floating{});
    addCases<Reduction, HasNaNOrInf>(internal::Floating{});
    addCases<Reduction, Max>(internal::Ordered{});
    addCases<Reduction, Min>(internal::Ordered{});
    addCases<Reduction, MaxUniqueTol>(internal::FloatingReal{});
    addCases<IndexedReduction, MaxWithIndex>(internal::Ordered{});
    addCases<IndexedReduction, MinWithIndex>(internal::Ordered{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
