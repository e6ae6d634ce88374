// Replaces the program's allocation functions, and those of the library that it loads.

#include "tests/support/failing_new.hpp"

#include <cstdlib>

namespace {

/// Requests until the first that fails, and how many then do.
thread_local unsigned long numLeft = 0, numFailing = 0;
thread_local bool failed = false;

bool fails() {
    if (numFailing == 0) return false;
    if (numLeft > 0) {
        --numLeft;
        return false;
    }
    --numFailing;
    failed = true;
    return true;
}

}  // namespace

// Not inlined: the compiler would see memory of malloc meet delete.
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* const memory = fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace gpuruntime::testing {

FailingNew::FailingNew(unsigned long first, unsigned long count) {
    numLeft = first;
    numFailing = count;
    failed = false;
}

FailingNew::~FailingNew() { numFailing = 0; }

bool FailingNew::hasFailed() const { return failed; }

}  // namespace gpuruntime::testing
