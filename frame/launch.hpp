#pragma once

#include <cuda_runtime_api.h>

#include <type_traits>

#include "kernel_launch.hpp"

/// The one way in which the library starts a kernel.
namespace gpuruntime::internal {

/// The arguments that a functor's `apply` takes after its position or iterator.
template <class... T>
struct Arguments {};

template <class ApplyType>
struct ArgumentsOf;
template <class Position, class... T>
struct ArgumentsOf<void (*)(Position, T...)> {
    using type = Arguments<T...>;
};

template <class Functor>
using FunctorArguments = typename ArgumentsOf<decltype(&Functor::apply)>::type;

/// About how many elements a launch of the functor goes over, which decides whether the host device shares it
/// out: the functor's own `work` of its arguments, or the number of threads.
template <class Functor, class = void>
struct WorkOf {
    template <class... T>
    static unsigned long of(unsigned long threads, T const&...) {
        return threads;
    }
};
template <class Functor>
struct WorkOf<Functor, std::void_t<decltype(&Functor::work)>> {
    template <class... T>
    static unsigned long of(unsigned long /*threads*/, T const&... arguments) {
        return Functor::work(arguments...);
    }
};

/// The functor whose code runs for a functor: its own, or another's that does the same.
template <class Functor, class = void>
struct BodyOfFunctor {
    using type = Functor;
};
template <class Functor>
struct BodyOfFunctor<Functor, std::void_t<typename Functor::Body>> {
    using type = typename Functor::Body;
};
template <class Functor>
using BodyOf = typename BodyOfFunctor<Functor>::type;

/// `cudaFuncGetAttributes` with its status ignored; where it fails, the record is all zeros.
template <auto kernel>
cudaFuncAttributes attributesOf() {
    cudaFuncAttributes attributes{};
    static_cast<void>(cudaFuncGetAttributes(&attributes, backend::kernelHandle<kernel>()));
    return attributes;
}

/// Starts `kernel` with the grid and block of `shape`, its 64-bit extents narrowed, and no dynamic shared
/// memory. The arguments are converted here to the types of the kernel's parameters.
template <auto kernel, class... Parameters>
struct Launcher {
    template <class Shape>
    static cudaError run(Shape const& shape, CUstream_st* stream, unsigned long work,
                         Parameters... parameters) {
        void* pointers[] = {static_cast<void*>(&parameters)...};
        return backend::launch<kernel>(narrowed(shape.gridX, shape.gridY, shape.gridZ),
                                       narrowed(shape.blockX, shape.blockY, shape.blockZ), pointers, stream,
                                       work);
    }

  private:
    static dim3 narrowed(unsigned long x, unsigned long y, unsigned long z) {
        return dim3(static_cast<unsigned int>(x), static_cast<unsigned int>(y), static_cast<unsigned int>(z));
    }
};

template <auto kernel, class... Parameters>
Launcher<kernel, Parameters...> launcherOf(void (*)(Parameters...));

template <auto kernel, class Shape, class... T>
cudaError launchKernel(Shape const& shape, CUstream_st* stream, unsigned long work, T... arguments) {
    return decltype(launcherOf<kernel>(kernel))::run(shape, stream, work, arguments...);
}

template <class Shape>
unsigned long threadsOf(Shape const& shape) {
    return shape.blockX * shape.blockY * shape.blockZ * shape.gridX * shape.gridY * shape.gridZ;
}

}  // namespace gpuruntime::internal
