#include "tests/indexing/subscript_operators.hpp"

#include <gpuruntime/subscripts.hpp>

#include <type_traits>
#include <typeinfo>

#include "frame/type_lists.hpp"

namespace gpuruntime::testing {
namespace {

template <class S>
S slotOf(SlotArgument const& slot) {
    if constexpr (std::is_same_v<S, double2>) {
        return slot.progression;
    } else if constexpr (std::is_same_v<S, double const*>) {
        return slot.indices;
    } else {
        return nullptr;
    }
}

template <class S>
constexpr SlotKind kindOf() {
    return std::is_same_v<S, double2>         ? SlotKind::progression
           : std::is_same_v<S, double const*> ? SlotKind::vector
                                              : SlotKind::absent;
}

template <class Invoker, class T, class S1, class S2, class S3, class Source>
void callWith(SelectionArguments const& a, void* out, Source source) {
    Invoker()(a.stream, a.numel, static_cast<T*>(out), source, a.dims[0], a.slots[0].count,
              slotOf<S1>(a.slots[0]), a.dims[1], a.slots[1].count, slotOf<S2>(a.slots[1]), a.dims[2],
              a.slots[2].count, slotOf<S3>(a.slots[2]));
}

std::string carrierName(unsigned long elementSize) {
    switch (elementSize) {
        case 1:
            return "unsigned char";
        case 2:
            return "short unsigned int";
        case 4:
            return "unsigned int";
        case 8:
            return "long unsigned int";
        default:
            return "ulonglong2";
    }
}

template <class T, class S1, class S2, class S3>
SelectionOperators operatorsOf() {
    SelectionOperators operators{typeid(T).name(),
                                 carrierName(sizeof(T)),
                                 sizeof(T),
                                 std::is_same_v<T, bool>,
                                 {kindOf<S1>()},
                                 {},
                                 {},
                                 {}};
    for (SlotKind const kind : {kindOf<S2>(), kindOf<S3>()}) {
        if (kind != SlotKind::absent) operators.kinds.push_back(kind);
    }
    for (SlotKind const kind : operators.kinds) {
        operators.name += kind == SlotKind::vector ? " vector" : " progression";
    }
    operators.read = [](SelectionArguments const& a, void* out, void const* source) {
        callWith<typename Subsref3D<S1, S2, S3>::template Invoker<T>, T, S1, S2, S3>(
            a, out, static_cast<T const*>(source));
    };
    operators.write = [](SelectionArguments const& a, void* out, void const* source) {
        callWith<typename Subsasgn3D<S1, S2, S3>::template Invoker<T>, T, S1, S2, S3>(
            a, out, static_cast<T const*>(source));
    };
    operators.writeValue = [](SelectionArguments const& a, void* out, void const* source) {
        callWith<typename SubsasgnScalar3D<S1, S2, S3>::template Invoker<T>, T, S1, S2, S3>(
            a, out, *static_cast<T const*>(source));
    };
    return operators;
}

template <class T, class S1>
void addCombinationsOf(std::vector<SelectionOperators>& all) {
    using Vector = double const*;
    all.push_back(operatorsOf<T, S1, void*, void*>());
    all.push_back(operatorsOf<T, S1, Vector, void*>());
    all.push_back(operatorsOf<T, S1, double2, void*>());
    all.push_back(operatorsOf<T, S1, Vector, Vector>());
    all.push_back(operatorsOf<T, S1, Vector, double2>());
    all.push_back(operatorsOf<T, S1, double2, Vector>());
    all.push_back(operatorsOf<T, S1, double2, double2>());
}

template <class... T>
std::vector<SelectionOperators> operatorsOfTypes(internal::TypeList<T...>) {
    std::vector<SelectionOperators> all;
    (addCombinationsOf<T, double const*>(all), ...);
    (addCombinationsOf<T, double2>(all), ...);
    return all;
}

}  // namespace

std::vector<SelectionOperators> const& selectionOperators() {
    static auto const all = operatorsOfTypes(internal::All{});
    return all;
}

std::vector<SelectionOperators> const& selectionOperatorsOfEachCarrier() {
    static auto const all = operatorsOfTypes(internal::TypeList<bool, char2, float, double, double2>{});
    return all;
}

}  // namespace gpuruntime::testing
