#include <gpuruntime/permute.hpp>
#include <gpuruntime/transpose.hpp>

#include <algorithm>
#include <numeric>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

template <class Family, class T>
struct Transposition {
    static void run(Case& call) {
        unsigned long const rows = call.number(0, 300);
        bool const inPlace = call.number(0, 3) == 0;
        unsigned long const cols = inPlace && rows < 150 ? rows : call.number(0, 20000 / (rows + 1));
        DeviceArray<T> in(call.values<T>(rows * cols)), out(rows * cols);
        T* const to = inPlace && rows == cols ? in.data() : out.data();
        typename Family::template Invoker<T>()(nullptr, to, in.data(), rows, cols);
        call.result(in);
        call.result(out);
    }
};

template <class Family, class T>
struct Permutation {
    static void run(Case& call) {
        std::vector<unsigned long> sizes(call.number(1, 6));
        unsigned long left = 10000;
        for (unsigned long& size : sizes) {
            size = call.number(1, std::min(left, 200ul));
            left /= size;
        }
        std::vector<unsigned long> order(sizes.size());
        std::iota(order.begin(), order.end(), 1ul);
        for (unsigned long i = order.size(); i > 1; --i) std::swap(order[i - 1], order[call.word() % i]);
        std::vector<unsigned long> outSizes;
        for (unsigned long dimension : order) outSizes.push_back(sizes[dimension - 1]);
        unsigned long const n = std::accumulate(sizes.begin(), sizes.end(), 1ul, std::multiplies<>());
        DeviceArray<T> in(call.values<T>(n)), out(n);
        typename Family::template Invoker<T>()(nullptr, out.data(), outSizes.size(), outSizes.data(),
                                               in.data(), sizes.size(), sizes.data(), order.size(),
                                               order.data());
        call.result(out);
    }
};

bool const areAdded = [] {
    addCases<Transposition, Transpose>(internal::All{});
    addCases<Transposition, CTranspose>(internal::All{});
    addCases<Permutation, Permute>(internal::All{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
