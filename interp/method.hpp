#pragma once

#include <gpuruntime/interp_type.hpp>

#include <type_traits>

/// The two kinds of kernels, by method.
namespace gpuruntime::interp {

inline constexpr unsigned int anyMethod = 1, cubicMethod = 2;

/// Calls `launch(m)`, `m` being the kind of kernel for the method, known at build time.
template <class Launch>
void byMethod(InterpType method, Launch launch) {
    if (method == InterpType::Cubic) {
        launch(std::integral_constant<unsigned int, cubicMethod>{});
    } else {
        launch(std::integral_constant<unsigned int, anyMethod>{});
    }
}

/// What is no result of a search.
inline constexpr long noBin = -2;

}  // namespace gpuruntime::interp
