#pragma once

#include <cuda_runtime_api.h>
#include <vector_types.h>

#include <string>
#include <vector>

/// The operators that read and write selections, by their slots and element types, as functions on bytes.
namespace gpuruntime::testing {

/// What one dimension's slot holds; which of the two is passed, the operator's type says.
struct SlotArgument {
    double const* indices = nullptr;  ///< in device memory
    double2 progression{};
    unsigned long count = 0;
};

struct SelectionArguments {
    unsigned long numel = 0;
    unsigned long dims[3]{};
    SlotArgument slots[3];
    CUstream_st* stream = nullptr;
};

enum class SlotKind { absent, vector, progression };

/// The three operators of one combination of slots and one element type. `source` and `value` point at
/// elements; the value is read on the host.
struct SelectionOperators {
    using Call = void (*)(SelectionArguments const&, void* out, void const* source);
    std::string name;
    std::string carrier;  ///< as kernel names spell it
    unsigned long elementSize;
    bool isBool;
    std::vector<SlotKind> kinds;  ///< of the slots that are present
    Call read, write, writeValue;
};

/// Those of all 14 combinations and all types of the build.
std::vector<SelectionOperators> const& selectionOperators();

/// The same for a type of each carrier, in every build: `bool`, `char2`, `float`, `double`, `double2`.
std::vector<SelectionOperators> const& selectionOperatorsOfEachCarrier();

}  // namespace gpuruntime::testing
