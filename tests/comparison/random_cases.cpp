#include <gpuruntime/random.hpp>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

using gpucommon::rand::MRG32K3AGenerator;
using gpucommon::rand::Philox4x32Generator;
using gpucommon::rand::ThreeFry4x64Generator;

/// Words for the state of any generator, each below the moduli of MRG32k3a.
std::vector<unsigned int> stateOf(Case& call) {
    std::vector<unsigned int> state(17);
    for (unsigned int& word : state) word = call.word() % 4294944442u + 1;
    return state;
}

template <class Family, class T>
struct Stream {
    static void run(Case& call) {
        auto state = stateOf(call);
        DeviceArray<T> out(call.number(0, 5000));
        call.result(typename Family::template Invoker<T>()(nullptr, out.data(), state.data(), out.size()));
        call.result(out);
    }
};

template <class Family, class T>
struct IntegerStream {
    static void run(Case& call) {
        auto state = stateOf(call);
        DeviceArray<T> out(call.number(0, 5000));
        double const lowest = call.real(-1000, 1000), highest = lowest + call.real(0, 1e6);
        call.result(typename Family::template Invoker<T>()(nullptr, out.data(), state.data(), lowest, highest,
                                                           out.size()));
        call.result(out);
    }
};

template <class Generator>
void addGenerator() {
    addCases<Stream, Rand<Generator>>(internal::FloatingReal{});
    addCases<IntegerStream, RandI<Generator>>(internal::ConvertedReal{});
    addCases<Stream, RandNInversion<Generator>>(internal::FloatingReal{});
}

bool const areAdded = [] {
    addGenerator<MRG32K3AGenerator>();
    addGenerator<Philox4x32Generator>();
    addGenerator<ThreeFry4x64Generator>();
    addCases<Stream, RandNBoxMuller<Philox4x32Generator>>(internal::FloatingReal{});
    addCases<Stream, RandNBoxMuller<ThreeFry4x64Generator>>(internal::FloatingReal{});
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
