#pragma once

#include <gtest/gtest.h>

#include "frame/type_lists.hpp"

namespace gpuruntime::testing {

template <class List>
struct TestTypesOf;
template <class... T>
struct TestTypesOf<internal::TypeList<T...>> {
    using type = ::testing::Types<T...>;
};

/// A type list of the library as one of typed tests.
template <class List>
using TestTypes = typename TestTypesOf<List>::type;

}  // namespace gpuruntime::testing
