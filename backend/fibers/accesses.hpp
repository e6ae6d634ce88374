#pragma once

#include <cstddef>

/// The checker of accesses to memory. The units with kernels are compiled with -fsanitize=thread, which calls
/// a function before each access; accesses.cpp brings these functions in place of that sanitizer's own. While
/// a thread of a kernel runs, these are errors:
/// - two threads of a block touch a byte between the same barriers, or two blocks in a launch, unless both
///   read it or both do so atomically; a volatile read counts as atomic;
/// - a thread reads shared memory that its block has not written;
/// - a thread writes constant memory;
/// - a thread touches memory that is neither the device's nor its own.
/// A racing write that leaves the memory as it was is told, and is no error. KVGPU_CHECKER=off leaves all
/// this out, for speed.
namespace gpuruntime::fibers {

/// A stack's size; it lies at a multiple of it.
inline constexpr std::size_t stackSize = 128 << 10;

// What runs: a launch, in it a block, in it a stretch between two barriers, in it a thread.
void beginLaunch();
void beginBlock();
void passBarrier();
void enterThread(unsigned int thread);
void leaveThread();

struct AccessKind {
    bool isWrite, isAtomic;
};

/// An access that the compiler does not tell.
void access(void const* address, std::size_t size, AccessKind kind, void const* site);

/// While it lives, nothing that runs on this thread of the machine is checked.
class Unchecked {
  public:
    Unchecked();
    ~Unchecked();
    Unchecked(Unchecked const&) = delete;
    Unchecked& operator=(Unchecked const&) = delete;

  private:
    bool wasChecked;
};

/// A variable in device memory or in constant memory; one for each, which lives as long.
class CheckedVariable {
  public:
    CheckedVariable(void const* address, std::size_t size, bool isConstant);
};

}  // namespace gpuruntime::fibers
