#pragma once

#include <vector_types.h>

#include <boost/mpl/integral_c.hpp>
#include <boost/mpl/size_t.hpp>

#include "frame/instantiation.hpp"
#include "frame/type_lists.hpp"

/// How many taps the instances of the convolutions have.
namespace gpuruntime::convolutioncommon {

template <int... N>
using TapCounts = internal::TypeList<mpl_::integral_c<int, N>...>;

template <unsigned long... S>
using Sides = internal::TypeList<mpl_::size_t<S>...>;

/// Of a piece of a filter.
template <class T>
struct TapCountsOf;
/// Of the side of a square.
template <class T>
struct SidesOf {
    using type = Sides<3, 5, 7, 9>;
};

#ifdef KVGPURUNTIME_SAMPLE_INSTANCES
template <>
struct TapCountsOf<float> {
    using type = TapCounts<1, 3, 16, 32, 128>;
};
template <>
struct TapCountsOf<double> {
    using type = TapCounts<1, 16, 64>;
};
template <>
struct TapCountsOf<float2> {
    using type = TapCounts<4, 5, 12, 36>;
};
template <>
struct TapCountsOf<double2> {
    using type = TapCounts<1, 6, 12>;
};
#else
template <>
struct TapCountsOf<float> {
    using type =
        TapCounts<1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 32, 48, 64, 80, 96, 112, 128>;
};
template <>
struct TapCountsOf<double> {
    using type = TapCounts<1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 32, 48, 64>;
};
template <>
struct TapCountsOf<float2> {
    using type = TapCounts<1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 24, 36>;
};
template <>
struct TapCountsOf<double2> {
    using type = TapCounts<1, 2, 3, 4, 5, 6, 12, 18, 24>;
};
#endif

template <>
struct SidesOf<double2> {
    using type = Sides<3, 5, 7>;
};

/// Emits `Family::Invoker<T, C>::operator()` for each type of a list and its own constants `C`.
template <class Family, template <class> class Constants, class... T>
void instantiate(detail::Opaque& opaque, internal::TypeList<T...>) {
    (internal::instantiateWith<Family, T>(opaque, typename Constants<T>::type{}), ...);
}

/// Elements in front of a tile; with those of its own a result can have one tap more than that.
template <class T>
constexpr unsigned int haloOf(unsigned int taps);
template <>
constexpr unsigned int haloOf<float>(unsigned int taps) {
    return taps <= 16 ? 32 : taps + 16;
}
template <>
constexpr unsigned int haloOf<double>(unsigned int taps) {
    return taps <= 16 ? 32 : taps + 16;
}
template <>
constexpr unsigned int haloOf<float2>(unsigned int taps) {
    return taps <= 4 ? 16 : taps <= 12 ? 32 : 48;
}
template <>
constexpr unsigned int haloOf<double2>(unsigned int taps) {
    return taps <= 6 ? 16 : 32;
}

}  // namespace gpuruntime::convolutioncommon
