#include <gpuruntime/casts.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

/// The types are those of target and source.
template <class Family, class Types>
struct Cast {
    using Target = typename Types::First;
    using Source = typename Types::Second;

    static void run(Case& call) {
        DeviceArray<Source> in(call.values<Source>(call.number(0, 3000)));
        DeviceArray<Target> out(in.size());
        typename Family::template Invoker<Target, Source>()(nullptr, in.size(), out.data(), in.data());
        call.result(out);
    }
};

template <class Family, class Types>
struct BlockCast {
    using Target = typename Types::First;
    using Source = typename Types::Second;

    static void run(Case& call) {
        DeviceArray<Source> in(call.values<Source>(call.number(0, 3000)));
        unsigned long const length = call.number(1, 500), stride = length + call.number(0, 20);
        unsigned long const offset = call.number(0, 100);
        DeviceArray<Target> out(offset + (in.size() / length + 1) * stride);
        typename Family::template Invoker<Target, Source>()(nullptr, in.size(), out.data(), in.data(), offset,
                                                            stride, length);
        call.result(out);
    }
};

template <class Family, class T>
struct LogicalCast {
    static void run(Case& call) {
        DeviceArray<T> in(call.values<T>(call.number(0, 3000)));
        DeviceArray<bool> out(in.size());
        typename Family::template Invoker<T> const family;
        if constexpr (std::is_same_v<Family, CastToBool>) {
            call.result(family(nullptr, in.size(), out.data(), in.data()));
            call.result(Family().getErrorFlag(nullptr));
        } else {
            family(nullptr, in.size(), out.data(), in.data(), call.flag());
        }
        call.result(out);
    }
};

bool const areAdded = [] {
    using RealPairs = Pairs<internal::RealNumeric, internal::Real>;
    using ComplexPairs = Pairs<internal::Complex, internal::All>;
    addCases<Cast, CastToReal>(RealPairs{});
    addCases<Cast, CastToComplex>(ComplexPairs{});
    addCases<BlockCast, CastBlockToReal>(RealPairs{});
    addCases<BlockCast, CastBlockToComplex>(ComplexPairs{});
    addCases<LogicalCast, CastToBool>(internal::RealNumeric{});
    addCases<LogicalCast, CastToBoolAllowNaN>(
        internal::Concatenate<internal::RealNumeric, internal::Complex>{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
