#include <gpuruntime/accumulation.hpp>
#include <gpuruntime/reductions.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

/// Segments of an array, contiguous, the last perhaps short, or strided.
struct Segments {
    unsigned long length, stride, numElements;

    explicit Segments(Case& call) {
        constexpr unsigned long most = 15000;
        stride = call.flag() ? 1 : call.number(2, 600);
        length = call.number(1, most / stride);
        numElements = length * stride * call.number(1, most / (length * stride));
        if (stride == 1) numElements -= call.number(0, length);
    }

    unsigned long count() const { return (numElements + length - 1) / length; }
};

template <class Operator, class Stream, class Out, class... Rest>
Out outOf(cudaError (Operator::*)(Stream, Out*, Rest...) const);

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
