#include <gpuruntime/membership.hpp>

#include <type_traits>

#include "backend/temporary.hpp"
#include "conversion.hpp"
#include "frame/convert.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"
#include "search.hpp"
#include "sorting/orders.hpp"

namespace gpuruntime {
namespace {

using QueryTypes = internal::Built<bool, signed char, unsigned char, short, unsigned short, int, unsigned int,
                                   float, double>;

// --- Orders of an element of the set and a query, which is converted to `double`. ---

GPU_DEVICE double numberOf(internal::LogicalByte value) { return value.byte != 0 ? 1 : 0; }
template <class T>
GPU_DEVICE double numberOf(T value) {
    return static_cast<double>(value);
}

struct LessThan {
    template <class A, class B>
    GPU_DEVICE bool operator()(A a, B b) const {
        return numberOf(a) < numberOf(b);
    }
};

struct LessWithTol {
    double tol;

    template <class A, class B>
    GPU_DEVICE bool operator()(A a, B b) const {
        return numberOf(a) < numberOf(b) - tol;
    }
};

/// Calls `search(before)` with the order that the tolerance asks for.
template <class Search>
void withOrder(double tol, Search search) {
    if (tol > 0) {
        search(LessWithTol{tol});
    } else {
        search(LessThan{});
    }
}

/// The elements of the sorted set that are numbers.
unsigned long countNumbers(double const* set, unsigned long setSize) {
    return setSize - backend::countIf(set, setSize, isNanVal<double>{});
}

// --- Whether a query matches an element of the set. ---

/// A number of the set as one of the queries' type.
template <class T>
GPU_DEVICE T convertedTo(double value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value != 0;
    } else if constexpr (std::is_integral_v<T>) {
        return internal::saturated<T>(internal::truncatedFor<T>(value));
    } else {
        return static_cast<T>(value);
    }
}

template <class T>
GPU_DEVICE T queryOf(internal::Readable<T> value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value.byte != 0;
    } else {
        return value;
    }
}

template <class T>
struct EqualWithoutTol {
    static GPU_DEVICE bool areEqual(T query, T element, double /*tol*/) { return query == element; }
};

template <class T>
struct EqualWithTol {
    static GPU_DEVICE bool areEqual(T query, T element, double tol) {
        if constexpr (std::is_integral_v<T>) {
            auto const difference = static_cast<unsigned int>(query) - static_cast<unsigned int>(element);
            return backend::abs(static_cast<double>(static_cast<int>(difference))) <= tol;
        } else {
            bool const areInfinite = backend::isInf(query) & (query == element);
            return (backend::abs(query - element) <= tol) | areInfinite;
        }
    }
};

template <class T, class Equal>
struct FindLocBKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, internal::Readable<T> const* a,
                                 unsigned int setSize, double const* set, unsigned int const* lowerBounds,
                                 double const* setLocations, bool* isMember, double* locations, double tol) {
        unsigned int const place = lowerBounds[at.i];
        bool isFound = false;
        if (place < setSize) {
            double const element = set[place];
            isFound = !backend::isNaN(element) &&
                      Equal::areEqual(queryOf<T>(a[at.i]), convertedTo<T>(element), tol);
        }
        isMember[at.i] = isFound;
        locations[at.i] = isFound ? setLocations[place] : 0.0;
    }
};

}  // namespace

template <class T>
void IsMember1Arg::Invoker<T>::operator()(T const* a, unsigned long numA, double const* set,
                                          unsigned long setSize, bool* isMember, double tol) const {
    auto const* const queries = internal::readable(a);
    auto const search = [&](bool* found) {
        unsigned long const numNumbers = countNumbers(set, setSize);
        withOrder(tol,
                  [&](auto before) { backend::binarySearch(set, numNumbers, queries, numA, found, before); });
    };
    if constexpr (std::is_floating_point_v<T>) {
        if (backend::countIf(a, numA, isNanVal<T>{}) != 0) {
            // A NaN is neither before nor after any number, so the search would find it.
            backend::fill(isMember, numA, false);
            backend::Temporary<bool> found(numA);
            search(found.data());
            backend::copyWhere(found.data(), a, isMember, numA, IsNumber<T>{});
            return;
        }
    }
    search(isMember);
}

template <class T>
void IsMember2Arg::Invoker<T>::operator()(CUstream_st* stream, T const* a, unsigned long numA,
                                          double const* set, unsigned long setSize,
                                          double const* setLocations, bool* isMember, double* locations,
                                          double tol) const {
    auto const* const queries = internal::readable(a);
    unsigned long const numNumbers = countNumbers(set, setSize);
    backend::Temporary<unsigned int> lowerBounds(numA);
    withOrder(tol, [&](auto before) {
        backend::lowerBound(set, numNumbers, queries, numA, lowerBounds.data(), before);
    });
    auto const launch = [&](auto kernel) {
        elementwisedetail::launch<decltype(kernel)>(stream, numA, queries, setSize, set, lowerBounds.data(),
                                                    setLocations, isMember, locations, tol);
    };
    if (tol > 0) {
        launch(FindLocBKernel<T, EqualWithTol<T>>{});
    } else {
        launch(FindLocBKernel<T, EqualWithoutTol<T>>{});
    }
}

void _forceInstantiation_(detail::Opaque& opaque, IsMember1Arg*) {
    internal::instantiate<IsMember1Arg>(opaque, QueryTypes{});
}

void _forceInstantiation_(detail::Opaque& opaque, IsMember2Arg*) {
    internal::instantiate<IsMember2Arg>(opaque, QueryTypes{});
}

}  // namespace gpuruntime
