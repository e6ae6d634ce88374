#include <gpuruntime/membership.hpp>

#include <algorithm>

#include "backend/temporary.hpp"
#include "conversion.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"
#include "search.hpp"
#include "sort.hpp"
#include "sorting/orders.hpp"

namespace gpuruntime {
namespace {

using QueryTypes = internal::Built<char2, uchar2, short2, ushort2, int2, uint2, float2, double2>;

struct LessThan {
    GPU_DEVICE bool operator()(double a, double b) const { return a < b; }
};

/// NaN gets its sign bit, by which it comes before all numbers.
GPU_DEVICE double withNaNsFirst(double value) {
    return backend::isNaN(value) ? backend::copySign(value, -1.0) : value;
}

struct StripOutRealKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, double* realA, double* realSet,
                                 double2 const* a, double2 const* set, unsigned int numA,
                                 unsigned int setSize) {
        if (at.i < numA) realA[at.i] = a[at.i].x;
        if (at.i < setSize) realSet[at.i] = withNaNsFirst(set[at.i].x);
    }
};

/// `permutation` sorts the set by real part, with `nanCount` NaNs first, and the bounds are those of the
/// query's real part behind the NaNs.
struct SearchKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, double2 const* a, double2 const* set,
                                 unsigned int const* permutation, unsigned int const* upperBounds,
                                 unsigned int const* lowerBounds, bool wantLocations, unsigned int nanCount,
                                 bool* isMember, double* locations) {
        double2 const query = a[at.i];
        unsigned int const end = upperBounds[at.i] + nanCount;
        unsigned int place = lowerBounds[at.i] + nanCount;
        bool isFound = false;
        unsigned int location = 0;
        if (!isNanVal<double2>{}(query)) {
            for (; place < end && !isFound; ++place) {
                location = permutation[place];
                isFound = set[location].y == query.y;
            }
        }
        isMember[at.i] = isFound;
        if (wantLocations) locations[at.i] = isFound ? backend::fromUint32(location + 1) : 0.0;
    }
};

void search(CUstream_st* stream, double2 const* a, unsigned long numA, double2 const* set,
            unsigned long setSize, bool* isMember, bool wantLocations, double* locations) {
    backend::Temporary<double> realA(numA), realSet(setSize);
    elementwisedetail::launch<StripOutRealKernel>(stream, std::max(numA, setSize), realA.data(),
                                                  realSet.data(), a, set, numA, setSize);
    backend::Temporary<unsigned int> permutation(setSize);
    backend::sequence(permutation.data(), setSize);
    backend::stableSort(internal::RadixOrder<double, false>{}, setSize, realSet.data(), permutation.data());
    unsigned long const nanCount = backend::countIf(realSet.data(), setSize, isNanVal<double>{});
    backend::Temporary<unsigned int> upperBounds(numA), lowerBounds(numA);
    double const* const numbers = realSet.data() + nanCount;
    backend::upperBound(numbers, setSize - nanCount, realA.data(), numA, upperBounds.data(), LessThan{});
    backend::lowerBound(numbers, setSize - nanCount, realA.data(), numA, lowerBounds.data(), LessThan{});
    elementwisedetail::launch<SearchKernel>(stream, numA, a, set, permutation.data(), upperBounds.data(),
                                            lowerBounds.data(), wantLocations, nanCount, isMember, locations);
}

}  // namespace

template <class T>
void IsMember1ArgCmplx::Invoker<T>::operator()(CUstream_st* stream, double2 const* a, unsigned long numA,
                                               double2 const* set, unsigned long setSize,
                                               bool* isMember) const {
    search(stream, a, numA, set, setSize, isMember, false, nullptr);
}

template <class T>
void IsMember2ArgCmplx::Invoker<T>::operator()(CUstream_st* stream, double2 const* a, unsigned long numA,
                                               double2 const* set, unsigned long setSize, bool* isMember,
                                               double* locations) const {
    search(stream, a, numA, set, setSize, isMember, true, locations);
}

void _forceInstantiation_(detail::Opaque& opaque, IsMember1ArgCmplx*) {
    internal::instantiate<IsMember1ArgCmplx>(opaque, QueryTypes{});
}

void _forceInstantiation_(detail::Opaque& opaque, IsMember2ArgCmplx*) {
    internal::instantiate<IsMember2ArgCmplx>(opaque, QueryTypes{});
}

}  // namespace gpuruntime
