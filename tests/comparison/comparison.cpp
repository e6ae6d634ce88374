// comparison write <file> [<calls for each family and type> [<seed>]]: runs the calls and writes their
// results. comparison compare <file>: runs the same calls and compares. Fails if a result differs.

#include "comparison.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>

#include "tests/support/device_limits.hpp"

namespace gpuruntime::comparison {
namespace {

std::map<std::string, void (*)(Case&)>& allCases() {
    static std::map<std::string, void (*)(Case&)> cases;
    return cases;
}

/// The file, and what is being compared.
struct Session {
    std::fstream file;
    bool writes;
    std::string name;  ///< of the case that runs
    unsigned long call;
    unsigned long numDifferent = 0;

    void transfer(void* data, unsigned long size) {
        if (writes) {
            file.write(static_cast<char const*>(data), static_cast<long>(size));
        } else {
            file.read(static_cast<char*>(data), static_cast<long>(size));
        }
        if (!file) throw std::runtime_error("the file ends, or cannot be written");
    }
    unsigned long transferred(unsigned long value) {
        transfer(&value, sizeof value);
        return value;
    }
} session;

/// Which NaN an operation makes is the machine's choice.
template <class T>
bool areNaN(char const* a, char const* b) {
    T x, y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    return std::isnan(x) && std::isnan(y);
}

}  // namespace

unsigned long Case::number(unsigned long low, unsigned long high) {
    double const range = std::log(static_cast<double>(high - low) + 1.5);
    double const drawn = std::exp(std::uniform_real_distribution<double>(0, range)(engine)) - 1;
    return std::min(high, low + static_cast<unsigned long>(drawn));
}

double Case::real(double low, double high) {
    double const drawn = std::uniform_real_distribution<double>(low, high)(engine);
    return flag() ? std::floor(drawn) : drawn;
}

/// The file has, for each result, the size of its elements, their number and their bytes.
void Case::result(Array const& values) {
    unsigned long const elementSize = session.transferred(values.elementSize);
    unsigned long const size = session.transferred(values.size);
    std::vector<char> other(elementSize * size);
    if (session.writes) std::copy_n(static_cast<char const*>(values.data), other.size(), other.data());
    session.transfer(other.data(), other.size());
    if (elementSize != values.elementSize || size != values.size) {
        throw std::runtime_error("the file is not of these calls");
    }
    for (unsigned long i = 0; i < size; ++i) {
        char const* const expected = other.data() + i * elementSize;
        char const* const actual = static_cast<char const*>(values.data) + i * elementSize;
        if (std::memcmp(expected, actual, elementSize) == 0) continue;
        if (values.isFloating && (elementSize == sizeof(float) ? areNaN<float>(expected, actual)
                                                               : areNaN<double>(expected, actual))) {
            continue;
        }
        unsigned long expectedBits = 0, actualBits = 0;
        std::memcpy(&expectedBits, expected, elementSize);
        std::memcpy(&actualBits, actual, elementSize);
        std::printf("%s, call %lu: element %lu of %lu is %lx in the file and %lx here\n",
                    session.name.c_str(), session.call, i, size, expectedBits, actualBits);
        ++session.numDifferent;
        return;
    }
}

void addCases(std::string const& name, void (*run)(Case&)) { allCases()[name] = run; }

namespace {

/// Small limits let grids fold, step and page.
std::unique_ptr<testing::GridLimits> someLimits(Case& call) {
    auto const limit = [&] { return call.flag() ? 65535 : call.number(1, 5); };
    unsigned long const x = limit(), y = limit(), z = limit();
    return std::make_unique<testing::GridLimits>(x, y, z);
}

void run(unsigned long numCalls, unsigned long firstSeed) {
    for (auto const& [name, runCase] : allCases()) {
        session.name = name;
        for (session.call = 0; session.call < numCalls; ++session.call) {
            Case call(std::hash<std::string>()(name) + firstSeed + session.call);
            auto const limits = someLimits(call);
            runCase(call);
            call.result(static_cast<unsigned long>(cudaGetLastError()));
        }
    }
}

int main(int argc, char** argv) {
    std::string const mode = argc > 1 ? argv[1] : "";
    if (argc < 3 || (mode != "write" && mode != "compare")) {
        std::fprintf(stderr, "usage: comparison write <file> [<calls> [<seed>]] | compare <file>\n");
        return 2;
    }
    session.writes = mode == "write";
    session.file.open(argv[2], std::ios::binary | (session.writes ? std::ios::out : std::ios::in));
    unsigned long const numCalls = session.transferred(argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 20);
    unsigned long const seed = session.transferred(argc > 4 ? std::strtoul(argv[4], nullptr, 10) : 1);
    testing::storeCurrentProperties();
    run(numCalls, seed);
    std::printf("%zu families and types, %lu calls each: %lu results differ\n", allCases().size(), numCalls,
                session.numDifferent);
    return session.numDifferent == 0 && !::testing::Test::HasFailure() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace
}  // namespace gpuruntime::comparison

int main(int argc, char** argv) { return gpuruntime::comparison::main(argc, argv); }
