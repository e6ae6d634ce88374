#pragma once

#include <gpuruntime/iir_filter.hpp>

#include <utility>

namespace gpuruntime::testing {

/// Everything that a call of the filter takes.
template <class T>
struct FilterCall {
    T* out;
    T* finalState;
    T const *b, *a, *in, *initialState;
    unsigned int numB, numA, signalLength, numSignals, sampleStride, numPages, sharedInitialState;
};

constexpr int maxOrder = 10;

template <class T, int K>
cudaError filterOfOrder(FilterCall<T> const& c) {
    return IIRFilter::Invoker<T, mpl_::integral_c<int, K>>()(
        nullptr, c.out, c.finalState, c.b, c.a, c.in, c.initialState, c.numB, c.numA, c.signalLength,
        c.numSignals, c.sampleStride, c.numPages, c.sharedInitialState);
}

template <class T, int... i>
cudaError filter(int order, FilterCall<T> const& call, std::integer_sequence<int, i...>) {
    cudaError (*const operators[])(FilterCall<T> const&) = {&filterOfOrder<T, i + 1>...};
    return operators[order - 1](call);
}

/// Calls the instance of an order.
template <class T>
cudaError filter(int order, FilterCall<T> const& call) {
    return filter(order, call, std::make_integer_sequence<int, maxOrder>{});
}

}  // namespace gpuruntime::testing
