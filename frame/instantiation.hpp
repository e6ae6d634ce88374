#pragma once

#include <gpuruntime/types.hpp>

#include "frame/type_lists.hpp"

/// What the families' instantiation functions are made of. They are never run: taking the address of an
/// operator makes the compiler emit it, so that host engines can link against it with declarations alone.
namespace gpuruntime::internal {

/// Two empty functions that the optimiser cannot see through.
void keepRecord(detail::Opaque& opaque, void* record);
void releaseRecord(detail::Opaque& opaque, void* record);

template <class Operator>
void instantiateOperator(detail::Opaque& opaque, Operator operation) {
    auto* record = new Operator(operation);
    keepRecord(opaque, record);
    releaseRecord(opaque, record);
}

/// Emits `Family::Invoker<T>::operator()` for each `T` of the list, in its order.
template <class Family, class... T>
void instantiate(detail::Opaque& opaque, TypeList<T...>) {
    (instantiateOperator(opaque, &Family::template Invoker<T>::operator()), ...);
}

template <class Family, class First, class... Second>
void instantiateWith(detail::Opaque& opaque, TypeList<Second...>) {
    (instantiateOperator(opaque, &Family::template Invoker<First, Second>::operator()), ...);
}

/// Emits `Family::Invoker<First, Second>::operator()` for each pair of types of the two lists.
template <class Family, class... First, class SecondList>
void instantiate2(detail::Opaque& opaque, TypeList<First...>, SecondList seconds) {
    (instantiateWith<Family, First>(opaque, seconds), ...);
}

}  // namespace gpuruntime::internal
