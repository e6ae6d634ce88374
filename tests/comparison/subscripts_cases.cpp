#include <gpuruntime/subscripts.hpp>

#include <numeric>

#include "comparison.hpp"

namespace gpuruntime::comparison {
namespace {

/// A selection of different positions of a dimension. None is a position of its own.
template <class S>
struct Slot {
    explicit Slot(Case&) {}
    unsigned long extent = 1, count = 1;
    S value() { return nullptr; }
};

template <>
struct Slot<double const*> {
    explicit Slot(Case& call)
        : extent(call.number(1, 40)), count(call.number(1, extent)), indices(drawn(call)) {}
    unsigned long extent, count;
    DeviceArray<double> indices;
    double const* value() { return indices.data(); }

    Elements<double> drawn(Case& call) const {
        Elements<double> all(extent);
        std::iota(all.begin(), all.end(), 1.0);
        for (unsigned long i = extent; i > 1; --i) std::swap(all[i - 1], all[call.word() % i]);
        if (call.flag()) all[0] += 0.75;
        all.resize(count);
        return all;
    }
};

template <>
struct Slot<double2> {
    explicit Slot(Case& call) : count(call.number(1, 40)), step(call.number(1, 3)), ascends(call.flag()) {
        extent = (count - 1) * step + 1 + call.number(0, 10);
    }
    unsigned long extent, count, step;
    bool ascends;
    double2 value() const {
        auto const s = static_cast<double>(step);
        return ascends ? double2{1, s} : double2{static_cast<double>(extent), -s};
    }
};

template <class Family>
struct Slots;
template <template <class, class, class> class Family, class S1, class S2, class S3>
struct Slots<Family<S1, S2, S3>> {
    Slot<S1> first;
    Slot<S2> second;
    Slot<S3> third;

    explicit Slots(Case& call) : first(call), second(call), third(call) {}

    unsigned long extent() const { return first.extent * second.extent * third.extent; }
    unsigned long count() const { return first.count * second.count * third.count; }

    template <class Invoker, class Out, class In>
    void call(Invoker const& family, Out* out, In in) {
        family(nullptr, count(), out, in, first.extent, first.count, first.value(), second.extent,
               second.count, second.value(), third.extent, third.count, third.value());
    }
};

template <class Family, class T>
struct Selection {
    static void run(Case& call) {
        Slots<Family> slots(call);
        DeviceArray<T> in(call.values<T>(slots.extent())), out(slots.count());
        slots.call(typename Family::template Invoker<T>(), out.data(), in.data());
        call.result(out);
    }
};

template <class Family, class T>
struct Assignment {
    static void run(Case& call) {
        Slots<Family> slots(call);
        DeviceArray<T> in(call.values<T>(slots.count())), out(slots.extent());
        slots.call(typename Family::template Invoker<T>(), out.data(), in.data());
        call.result(out);
    }
};

template <class Family, class T>
struct ScalarAssignment {
    static void run(Case& call) {
        Slots<Family> slots(call);
        DeviceArray<T> out(slots.extent());
        T const value = call.values<T>(1)[0];
        slots.call(typename Family::template Invoker<T>(), out.data(), value);
        call.result(out);
    }
};

template <class S1, class S2, class S3>
void addSlots() {
    addCases<Selection, Subsref3D<S1, S2, S3>>(internal::All{});
    addCases<Assignment, Subsasgn3D<S1, S2, S3>>(internal::All{});
    addCases<ScalarAssignment, SubsasgnScalar3D<S1, S2, S3>>(internal::All{});
}

bool const areAdded = [] {
    using Indices = double const*;
    using Progression = double2;
    using Absent = void*;
    addSlots<Indices, Absent, Absent>();
    addSlots<Indices, Indices, Absent>();
    addSlots<Indices, Progression, Absent>();
    addSlots<Indices, Indices, Indices>();
    addSlots<Indices, Indices, Progression>();
    addSlots<Indices, Progression, Indices>();
    addSlots<Indices, Progression, Progression>();
    addSlots<Progression, Absent, Absent>();
    addSlots<Progression, Indices, Absent>();
    addSlots<Progression, Progression, Absent>();
    addSlots<Progression, Indices, Indices>();
    addSlots<Progression, Indices, Progression>();
    addSlots<Progression, Progression, Indices>();
    addSlots<Progression, Progression, Progression>();
    return true;
}();

}  // namespace
}  // namespace gpuruntime::comparison
