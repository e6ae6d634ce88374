#pragma once

#include <climits>
#include <new>

namespace gpuruntime::testing {

/// While it lives, requests of `operator new` fail in this thread, `count` from the number `first` on, which
/// counts from 0. For programs built with failing_new.cpp, which replaces their allocation functions.
class FailingNew {
  public:
    explicit FailingNew(unsigned long first = 0, unsigned long count = ULONG_MAX);
    ~FailingNew();
    FailingNew(FailingNew const&) = delete;
    FailingNew& operator=(FailingNew const&) = delete;

    /// Whether one has failed.
    bool hasFailed() const;
};

/// Calls `f` with the first request failing, the second, and so on, until it asks for no more. `f` may throw
/// `std::bad_alloc` then; `check(thrown)` is called after each that failed.
template <class F, class Check>
void failEachNew(F const& f, Check const& check) {
    bool failed = true;
    for (unsigned long first = 0; failed; ++first) {
        bool thrown = false;
        {
            FailingNew const failing(first, 1);
            try {
                f();
            } catch (std::bad_alloc const&) {
                thrown = true;
            }
            failed = failing.hasFailed();
        }
        if (failed) check(thrown);
    }
}

}  // namespace gpuruntime::testing
