// Families that need memory of the program itself, and find none: what they throw, what they leave.

#include <gtest/gtest.h>
#include <gpuruntime/accumarray.hpp>
#include <gpuruntime/membership.hpp>
#include <gpuruntime/permute.hpp>
#include <gpuruntime/predicates.hpp>
#include <gpuruntime/sorting.hpp>

#include <cmath>
#include <functional>
#include <host_device.hpp>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/device_array.hpp"
#include "tests/support/failing_new.hpp"

namespace gpuruntime::testing {
namespace {

/// Enough for several chunks.
constexpr unsigned long n = 70000;

/// Blocks of device memory that were taken and not given back; fewer than none where no memory was given
/// back.
long numLeft(hostdevice::Recording const& recording) {
    long left = 0;
    for (auto const& call : recording.calls()) {
        if (call.status == cudaSuccess) left += (call.name == "cudaMalloc") - (call.name == "cudaFree");
    }
    return left;
}

TEST(OutOfMemory, FamiliesThrowBadAllocAndLeaveNothingBehind) {
    std::vector<double> numbers(n);
    std::vector<double2> pairs(n);
    for (unsigned long i = 0; i < n; ++i) {
        numbers[i] = i % 100 == 0 ? std::nan("") : static_cast<double>(i * 7919 % n);
        pairs[i] = {static_cast<double>(i * 7919 % n), static_cast<double>(i % 89)};
    }
    std::vector<double> set(1000);
    for (unsigned long i = 0; i < set.size(); ++i) set[i] = static_cast<double>(i);
    DeviceArray<double> values(numbers), indices(n), sorted(set), locations(n), setLocations(set), out(n);
    DeviceArray<double2> complexValues(pairs),
        complexSet(std::vector<double2>(pairs.begin(), pairs.begin() + 500));
    DeviceArray<int> labels(std::vector<int>(n, 1));
    std::vector<unsigned int> allRows(n / 2);
    std::iota(allRows.begin(), allRows.end(), 1u);
    DeviceArray<unsigned int> rows(allRows);
    DeviceArray<bool> isMember(n);
    unsigned long const inSizes[] = {70, 100, 10}, outSizes[] = {10, 70, 100}, order[] = {3, 1, 2};
    double const descending[] = {-1, 2};

    std::vector<std::pair<std::string, std::function<void()>>> const calls{
        {"SortVector", [&] { SortVector::Invoker<double>()(values.data(), nullptr, n, true, true); }},
        {"SortVector with indices",
         [&] { SortVector::Invoker<double>()(values.data(), indices.data(), n, false, true); }},
        {"SortVector of complex values",
         [&] { SortVector::Invoker<double2>()(complexValues.data(), indices.data(), n, true, true); }},
        {"SortMatrix", [&] { SortMatrix::Invoker<double>()(values.data(), labels.data(), n, true, true); }},
        {"SortMatrixIndex",
         [&] {
             SortMatrixIndex::Invoker<double>()(values.data(), indices.data(), labels.data(), n, true, true);
         }},
        {"SimpleSort", [&] { SimpleSort::Invoker<double>()(values.data(), n); }},
        {"SortrowsIndex",
         [&] { SortrowsIndex::Invoker<double>()(values.data(), rows.data(), n / 2, 2, descending); }},
        {"IsMember1Arg",
         [&] {
             IsMember1Arg::Invoker<double>()(values.data(), n, sorted.data(), set.size(), isMember.data(), 0);
         }},
        {"IsMember2Arg",
         [&] {
             IsMember2Arg::Invoker<double>()(nullptr, values.data(), n, sorted.data(), set.size(),
                                             setLocations.data(), isMember.data(), locations.data(), 0);
         }},
        {"IsMember2ArgCmplx",
         [&] {
             IsMember2ArgCmplx::Invoker<double2>()(nullptr, complexValues.data(), n, complexSet.data(), 500,
                                                   isMember.data(), locations.data());
         }},
        {"CheckValidFindMax", [&] { CheckValidFindMax::Invoker<double>()(values.data(), n); }},
        {"AccumArrayVectorSortHelper",
         [&] {
             AccumArrayVectorSortHelper<int>::Invoker<double>()(nullptr, labels.data(), values.data(), n);
         }},
        {"AccumArrayScalarSortHelper", [&] { AccumArrayScalarSortHelper<int>::Invoker()(labels.data(), n); }},
        {"Permute",
         [&] {
             Permute::Invoker<double>()(nullptr, out.data(), 3, outSizes, values.data(), 3, inSizes, 3,
                                        order);
         }},
    };
    int numThrown = 0;
    for (auto const& [name, call] : calls) {
        SCOPED_TRACE(name);
        hostdevice::Recording const recording;
        call();  // oneTBB starts its threads
        // Makes room for records, for which there would be no memory either.
        for (int i = 0; i < 10000; ++i) cudaGetLastError();
        failEachNew(call, [&](bool thrown) {
            numThrown += thrown ? 1 : 0;
            EXPECT_LE(numLeft(recording), 0);
            cudaGetLastError();
        });
        EXPECT_LE(numLeft(recording), 0);
    }
    EXPECT_GT(numThrown, 10);
}

}  // namespace
}  // namespace gpuruntime::testing
