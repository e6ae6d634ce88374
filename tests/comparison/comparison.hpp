#pragma once

#include <cxxabi.h>

#include <cstdlib>
#include <random>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "frame/type_lists.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/values.hpp"

/// Random calls of every family, whose results one device writes to a file and another compares with its own.
/// Cases of a kind are told apart by family and element type; a family is added in a line, by the kind of its
/// cases:
///
///     addCases<Reduction, SumNative>(internal::All{});
namespace gpuruntime::comparison {

using testing::DeviceArray;
using testing::Elements;

/// One call of a family, with random arguments and inputs.
class Case {
  public:
    explicit Case(unsigned long seed) : engine(seed) {}

    /// A number from `low` to `high`; each order of magnitude is as likely.
    unsigned long number(unsigned long low, unsigned long high);

    /// A number from `low` to `high`, often a whole one.
    double real(double low, double high);

    /// All 32-bit numbers are as likely.
    unsigned int word() { return static_cast<unsigned int>(engine()); }

    bool flag() { return engine() % 2 == 0; }

    /// `n` values, random and special ones, all of them or a few again and again.
    template <class T>
    Elements<T> values(unsigned long n) {
        unsigned long const seed = engine() % 1000000;
        Elements<T> values = testing::mixedValues<T>(n, number(1, 40), seed);
        if (n > 0 && flag()) {
            unsigned long const numDifferent = number(1, n);
            for (unsigned long i = 0; i < n; ++i) values[i] = values[engine() % numDifferent];
        }
        return values;
    }

    /// What the call gave.
    template <class T>
    void result(DeviceArray<T> const& array) {
        using E = internal::Part<T>;
        auto const values = array.values();
        result(
            {values.data(), sizeof(E), values.size() * sizeof(T) / sizeof(E), std::is_floating_point_v<E>});
    }
    void result(unsigned long value) { result({&value, sizeof value, 1, false}); }

  private:
    struct Array {
        void const* data;
        unsigned long elementSize, size;
        bool isFloating;
    };
    void result(Array const& values);

    std::mt19937_64 engine;
};

void addCases(std::string const& name, void (*run)(Case&));

/// Two element types in place of one, for families that take two.
template <class A, class B>
struct Pair {
    using First = A;
    using Second = B;
};

template <class A, class... B>
internal::TypeList<Pair<A, B>...> pairsWith(internal::TypeList<B...>);
template <class... A, class List>
internal::Concatenate<decltype(pairsWith<A>(List{}))...> pairsOf(internal::TypeList<A...>, List);
template <class ListA, class ListB>
using Pairs = decltype(pairsOf(ListA{}, ListB{}));

/// The element type of an operator's output, its second parameter.
template <class Operator, class Result, class Stream, class Out, class... Rest>
Out outOf(Result (Operator::*)(Stream, Out*, Rest...) const);

/// Adds, for each type of a list, the cases `Kind<Family, T>::run`.
template <template <class, class> class Kind, class Family, class... T>
void addCases(internal::TypeList<T...>) {
    auto const add = [](char const* symbol, void (*run)(Case&)) {
        int status = 0;
        char* const name = abi::__cxa_demangle(symbol, nullptr, nullptr, &status);
        addCases(std::string(name), run);
        std::free(name);
    };
    (add(typeid(Kind<Family, T>).name(), &Kind<Family, T>::run), ...);
}

}  // namespace gpuruntime::comparison
