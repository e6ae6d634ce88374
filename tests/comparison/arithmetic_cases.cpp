#include <gpuruntime/arithmetic.hpp>

#include "comparison.hpp"
#include "elementwise/arithmetic_types.hpp"

namespace gpuruntime::comparison {
namespace {

template <class T>
T scalar(Case& call) {
    return call.values<T>(1)[0];
}

/// In place, with a scalar of the elements' type.
template <class Family, class T>
struct WithScalar {
    static void run(Case& call) {
        DeviceArray<T> data(call.values<T>(call.number(0, 3000)));
        typename Family::template Invoker<T>()(nullptr, data.data(), scalar<T>(call), data.size());
        call.result(data);
    }
};

template <class Family, class T>
struct WithNumbers {
    static void run(Case& call) {
        DeviceArray<T> data(call.values<T>(call.number(0, 3000)));
        double const a = scalar<double>(call), b = scalar<double>(call);
        if constexpr (std::is_same_v<Family, ScaleByDoubleInplace>) {
            ScaleByDoubleInplace::Invoker<T>()(nullptr, data.data(), a, data.size());
        } else {
            typename Family::template Invoker<T>()(nullptr, data.data(), a, b, data.size());
        }
        call.result(data);
    }
};

template <class Family, class T>
struct WithoutNumbers {
    static void run(Case& call) {
        DeviceArray<T> data(call.values<T>(call.number(0, 3000)));
        typename Family::template Invoker<T>()(nullptr, data.data(), data.size());
        call.result(data);
    }
};

template <class Family, class T>
struct Magnitudes {
    static void run(Case& call) {
        DeviceArray<T> in(call.values<T>(call.number(0, 3000)));
        DeviceArray<Magnitude<T>> out(in.size());
        if constexpr (std::is_same_v<Family, Abs>) {
            Abs::Invoker<T>()(nullptr, out.data(), in.data(), in.size());
        } else {
            AbsPower::Invoker<T>()(nullptr, out.data(), in.data(), call.real(-5, 5), in.size());
        }
        call.result(out);
    }
};

template <class Family, class T>
struct Differences {
    static void run(Case& call) {
        unsigned long const stride = call.number(1, 300), outLength = call.number(1, 40);
        unsigned long const numGroups = call.number(1, 5);
        DeviceArray<T> in(call.values<T>(stride * (outLength + 1) * numGroups));
        DeviceArray<T> out(stride * outLength * numGroups);
        Diff::Invoker<T>()(nullptr, out.data(), in.data(), stride, outLength, out.size());
        call.result(out);
    }
};

template <class Family, class T>
struct NormCorrection {
    static void run(Case& call) {
        DeviceArray<T> in(call.values<T>(call.number(0, 600)));
        DeviceArray<double> norm({call.flag() ? HUGE_VAL : 5.0});
        NormCorrectInfNaN::Invoker<T>()(nullptr, norm.data(), in.data(), in.size());
        call.result(norm);
    }
};

template <class Family, class T>
struct MatrixPower {
    static void run(Case& call) {
        unsigned long const n = call.number(1, 300);
        DeviceArray<T> vectors(call.values<T>(n * n)), values(call.values<T>(n)), out(n * n);
        typename Family::template Invoker<T>()(nullptr, out.data(), vectors.data(), values.data(),
                                               scalar<T>(call), n);
        call.result(out);
    }
};

bool const areAdded = [] {
    addCases<WithScalar, TimesInplace>(internal::Multiplied{});
    addCases<WithScalar, ReciprocalTimesInplace>(internal::Multiplied{});
    addCases<WithScalar, ScaleInplace>(internal::Floating{});
    addCases<WithNumbers, NormalizeInplace>(internal::Floating{});
    addCases<WithNumbers, ScaleByDoubleInplace>(internal::Floating{});
    addCases<WithNumbers, MulAddByDoubleInplace>(internal::Floating{});
    addCases<WithoutNumbers, NanToZeroInplace>(internal::TypeList<double, double2>{});
    addCases<Magnitudes, Abs>(internal::Floating{});
    addCases<Magnitudes, AbsPower>(internal::Floating{});
    addCases<Differences, Diff>(internal::Subtracted{});
    addCases<NormCorrection, NormCorrectInfNaN>(internal::Floating{});
    addCases<MatrixPower, MPowerMatrixScalar>(internal::Floating{});
    addCases<MatrixPower, MPowerScalarMatrix>(internal::Floating{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
