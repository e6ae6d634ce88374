#pragma once

#include <vector_types.h>

#include <cstring>

namespace gpuruntime::internal {

template <unsigned long size>
struct CarrierOfSize;
template <>
struct CarrierOfSize<1> {
    using type = unsigned char;
};
template <>
struct CarrierOfSize<2> {
    using type = unsigned short;
};
template <>
struct CarrierOfSize<4> {
    using type = unsigned int;
};
template <>
struct CarrierOfSize<8> {
    using type = unsigned long;
};
template <>
struct CarrierOfSize<16> {
    using type = ulonglong2;
};

/// The type as which elements of `T` are moved: kernels that only move bytes are built once per size.
template <class T>
using Carrier = typename CarrierOfSize<sizeof(T)>::type;

template <class T>
Carrier<T>* carried(T* data) {
    static_assert(alignof(T) == alignof(Carrier<T>));
    return reinterpret_cast<Carrier<T>*>(data);
}

template <class T>
Carrier<T> const* carried(T const* data) {
    static_assert(alignof(T) == alignof(Carrier<T>));
    return reinterpret_cast<Carrier<T> const*>(data);
}

template <class T>
Carrier<T> carriedValue(T value) {
    Carrier<T> result;
    std::memcpy(&result, &value, sizeof value);
    return result;
}

}  // namespace gpuruntime::internal
