#include <gpuruntime/iir_filter.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Order>
constexpr unsigned int orderOf = 0;
template <int K>
constexpr unsigned int orderOf<mpl_::integral_c<int, K>> = K;

template <class Family, class Types>
struct Filters {
    using T = typename Types::First;
    using Order = typename Types::Second;

    static void run(Case& call) {
        constexpr unsigned int order = orderOf<Order>;
        auto const count = [&](unsigned long low, unsigned long high) {
            return static_cast<unsigned int>(call.number(low, high));
        };
        unsigned int const numB = count(1, order + 1), numA = count(1, order + 1);
        unsigned int const numSignals = count(1, 300), numPages = count(1, 4), length = count(1, 100);
        bool const isContiguous = call.flag(), isShared = call.flag();
        unsigned int const n = numSignals * numPages * length, numStates = numSignals * numPages * order;
        unsigned int const stride = isContiguous ? 1 : numSignals;
        DeviceArray<T> b(coefficients(call, numB)), a(coefficients(call, numA)), in(call.values<T>(n)),
            out(n);
        DeviceArray<T> initial(call.values<T>(isShared ? order : numStates)), final(numStates);
        bool const startsAtZero = call.number(1, 10) == 1;
        using Filter = typename Family::template Invoker<T, Order>;
        Filter()(nullptr, out.data(), final.data(), b.data(), a.data(), in.data(),
                 startsAtZero ? nullptr : initial.data(), numB, numA, length, numSignals, stride, numPages,
                 isShared);
        call.result(out);
        call.result(final);
    }

  private:
    /// Of filters that do not grow fast.
    static Elements<T> coefficients(Case& call, unsigned int n) {
        Elements<T> values(n);
        for (unsigned int i = 0; i < n; ++i) {
            double const bound = i == 0 ? 4 : 0.25;
            if constexpr (internal::isComplex<T>) {
                using P = internal::Part<T>;
                values[i] = {static_cast<P>(call.real(-bound, bound)),
                             static_cast<P>(call.real(-bound, bound))};
            } else {
                values[i] = static_cast<T>(call.real(-bound, bound));
            }
        }
        return values;
    }
};

template <int... K>
using Orders = internal::TypeList<mpl_::integral_c<int, K>...>;

int const registered = [] {
    addCases<Filters, IIRFilter>(Pairs<internal::Floating, Orders<1, 2, 3, 4, 5, 6, 7, 8, 9, 10>>{});
    return 0;
}();

}  // namespace
}  // namespace gpuruntime::comparison
