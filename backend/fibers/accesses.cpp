#include "accesses.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "device_language.hpp"
#include "device_memory.hpp"
#include "reports.hpp"

// By the linker: the image that this code is part of, and its variables without initial value. Of these, all
// that a kernel touches are shared, or device variables.
extern "C" {
extern char const __ehdr_start[] __attribute__((visibility("hidden")));
extern char const __bss_start[] __attribute__((visibility("hidden")));
extern char const _end[] __attribute__((visibility("hidden")));
}

namespace gpuruntime::fibers {
namespace {

std::uintptr_t addressOf(void const* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

struct Range {
    std::uintptr_t begin, end;
    bool holds(std::uintptr_t address) const { return address - begin < end - begin; }
};

enum class Memory { global, shared, constant, foreign };

struct Variable : Range {
    Memory memory;
};

/// By address; variables come from units that are initialised before this one.
std::vector<Variable>& variables() {
    static auto* const all = new std::vector<Variable>;
    return *all;
}

/// The blocks that cudaMalloc gave, as of the launch, by address.
std::vector<Range> allocations;

/// The first of the ranges that begins after an address.
template <class Ranges>
auto firstAfter(Ranges& ranges, std::uintptr_t address) {
    return std::upper_bound(ranges.begin(), ranges.end(), address,
                            [](std::uintptr_t at, Range const& range) { return at < range.begin; });
}

/// The one of the ranges that holds all of an access; none does if null.
template <class Ranges>
auto const* rangeAround(Ranges const& ranges, std::uintptr_t address, std::size_t size) {
    auto const after = firstAfter(ranges, address);
    return after != ranges.begin() && address + size <= (after - 1)->end ? &*(after - 1) : nullptr;
}

Memory memoryAt(std::uintptr_t address, std::size_t size) {
    if (Range{addressOf(__ehdr_start), addressOf(_end)}.holds(address)) {
        if (auto const* const variable = rangeAround(variables(), address, size)) return variable->memory;
        return address < addressOf(__bss_start) ? Memory::constant : Memory::shared;
    }
    return rangeAround(allocations, address, size) != nullptr ? Memory::global : Memory::foreign;
}

/// Stretches of a block between two barriers are counted over all launches.
struct Running {
    std::uint32_t stretch, firstOfBlock, firstOfLaunch;
    std::uint16_t thread;
} running = {1, 1, 1, 0};

constexpr std::uint16_t several = 0xffff;  ///< in place of a thread

struct Access {
    std::uint32_t stretch;
    std::uint16_t thread;
    bool isAtomic;
    std::int32_t site;  ///< from the image's beginning

    bool isOfOtherBlock() const { return stretch >= running.firstOfLaunch && stretch < running.firstOfBlock; }
    bool isOfOtherThread() const { return stretch == running.stretch && thread != running.thread; }
    void const* place() const { return __ehdr_start + site; }
};

/// The last accesses to a granule of memory.
struct Cell {
    Access write, read;
};

/// The cells of `size` bytes, a power of two for each: as many as the smallest access so far touched at once.
struct Chunk {
    static constexpr std::size_t size = 256;
    Cell* cells;
    unsigned int log2Granule;
};

constexpr unsigned int maxLog2Granule = 4;

/// All cells: address space, of which only what is used takes up memory.
class Shadow {
  public:
    /// The cell of the granule at an address, which is no larger than asked for. Its size is set.
    Cell& at(std::uintptr_t address, unsigned int log2Granule, std::size_t& granule) {
        Chunk& chunk = chunks[address / Chunk::size];
        if (chunk.cells == nullptr || chunk.log2Granule > log2Granule) refine(chunk, log2Granule);
        granule = std::size_t{1} << chunk.log2Granule;
        return chunk.cells[address % Chunk::size >> chunk.log2Granule];
    }

    /// Forgets everything, if that is much. Earlier launches mean nothing to a new one.
    void trim() {
        constexpr std::size_t much = (std::size_t{1} << 30) / sizeof(Cell);
        if (numUsed < much) return;
        madvise(cells, numUsed * sizeof(Cell), MADV_DONTNEED);
        madvise(chunks, numChunks * sizeof(Chunk), MADV_DONTNEED);
        numUsed = 0;
    }

  private:
    static constexpr std::size_t numChunks = (std::size_t{1} << 47) / Chunk::size;
    static constexpr std::size_t numCells = std::size_t{1} << 34;

    template <class T>
    static T* reserve(std::size_t n) {
        void* const memory = mmap(nullptr, n * sizeof(T), PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) {
            std::perror("fibers: no address space for the checker");
            std::abort();
        }
        return static_cast<T*>(memory);
    }

    void refine(Chunk& chunk, unsigned int log2Granule) {
        std::size_t const n = Chunk::size >> log2Granule;
        Cell* const fresh = cells + numUsed;
        numUsed += n;
        if (chunk.cells != nullptr) {
            for (std::size_t i = 0; i < n; ++i)
                fresh[i] = chunk.cells[i >> (chunk.log2Granule - log2Granule)];
        }
        chunk = {fresh, log2Granule};
    }

    Chunk* chunks = reserve<Chunk>(numChunks);
    Cell* cells = reserve<Cell>(numCells);
    std::size_t numUsed = 0;
};

Shadow& shadow = *new Shadow;  // lives as long as any kernel

/// A write that is a race. Whether it changes anything is seen when it has been made.
class RacyWrite {
  public:
    void begin(std::uintptr_t newAddress, std::size_t size, std::string const& newText, void const* newSite,
               void const* newOtherSite) {
        address = reinterpret_cast<char const*>(newAddress);
        before.assign(address, address + size);
        text = newText;
        site = newSite;
        otherSite = newOtherSite;
    }

    void settle() {
        if (before.empty()) return;
        bool const changes = std::memcmp(before.data(), address, before.size()) != 0;
        before.clear();
        report(changes ? "race" : harmlessRace, text, site, otherSite);
    }

  private:
    char const* address;
    std::vector<char> before;
    std::string text;
    void const *site, *otherSite;
};

RacyWrite& racyWrite = *new RacyWrite;

bool isWanted() {
    char const* const chosen = std::getenv("KVGPU_CHECKER");
    std::string const text = chosen == nullptr ? "on" : chosen;
    if (text != "on" && text != "off") {
        std::fprintf(stderr, "fibers: KVGPU_CHECKER is \"%s\", neither on nor off\n", text.c_str());
        std::abort();
    }
    return text == "on";
}

bool const isOn = isWanted();

__thread bool isChecked __attribute__((tls_model("initial-exec"))) = false;

/// One access. Of its errors only the first is reported.
class Check {
  public:
    Check(std::uintptr_t address, std::size_t size, AccessKind kind, void const* site)
        : address(address), size(size), kind(kind), site(site), memory(memoryAt(address, size)) {}

    void run() {
        if (memory == Memory::constant || memory == Memory::foreign) {
            if (memory == Memory::foreign) {
                report("memory", "memory that is neither the device's nor the thread's own", site);
            } else if (kind.isWrite) {
                report("memory", "constant memory is written", site);
            }
            return;
        }
        auto const log2Granule = std::min<unsigned int>(maxLog2Granule, __builtin_ctzl(address | size));
        std::size_t granule;
        for (std::uintptr_t at = address; at < address + size; at += granule) {
            Cell& cell = shadow.at(at, log2Granule, granule);
            if (!isReported) compare(cell);
            note(cell);
        }
    }

  private:
    void compare(Cell const& cell) {
        if (memory == Memory::shared && !kind.isWrite && cell.write.stretch < running.firstOfBlock) {
            isReported = true;
            report("unwritten", "shared memory is read that the block has not written", site);
        } else if (meets(cell.write)) {
            reportRace(cell.write, "written");
        } else if (kind.isWrite && meets(cell.read)) {
            reportRace(cell.read, "read");
        }
    }

    bool meets(Access const& other) const {
        if (kind.isAtomic && other.isAtomic) return false;
        return other.isOfOtherThread() || (other.isOfOtherBlock() && memory != Memory::shared);
    }

    void reportRace(Access const& other, char const* otherKind) {
        isReported = true;
        std::string text = memory == Memory::shared ? "shared" : "global";
        text +=
            std::string(" memory is ") + otherKind + " and " + (kind.isWrite ? "written" : "read") + " by ";
        if (other.isOfOtherBlock()) {
            text += "two blocks";
        } else {
            text += other.thread == several ? "several threads"
                                            : "threads " + std::to_string(other.thread) + " and " +
                                                  std::to_string(running.thread);
            text += " between two barriers";
        }
        if (kind.isWrite) {
            racyWrite.begin(address, size, text, site, other.place());
        } else {
            report("race", text, site, other.place());
        }
    }

    void note(Cell& cell) const {
        Access const now = {running.stretch, running.thread, kind.isAtomic,
                            static_cast<std::int32_t>(static_cast<char const*>(site) - __ehdr_start)};
        if (kind.isWrite) {
            cell.write = now;
        } else if (cell.read.isOfOtherBlock() && memory != Memory::shared) {
            cell.read.isAtomic &= now.isAtomic;  // meets whatever this block writes
        } else if (cell.read.isOfOtherThread()) {
            cell.read.thread = several;
            cell.read.isAtomic &= now.isAtomic;
        } else {
            cell.read = now;
        }
    }

    std::uintptr_t address;
    std::size_t size;
    AccessKind kind;
    void const* site;
    Memory memory;
    bool isReported = false;
};

}  // namespace

void beginLaunch() {
    shadow.trim();
    running.firstOfLaunch = running.stretch + 1;
    allocations.clear();
    for (auto const& [address, size] : hostdevice::deviceMemory())
        allocations.push_back({address, address + size});
}

void beginBlock() { running.firstOfBlock = ++running.stretch; }

void passBarrier() { ++running.stretch; }

void enterThread(unsigned int thread) {
    running.thread = static_cast<std::uint16_t>(thread);
    isChecked = isOn;
}

void leaveThread() {
    isChecked = false;
    racyWrite.settle();
}

Unchecked::Unchecked() : wasChecked(isChecked) { isChecked = false; }
Unchecked::~Unchecked() { isChecked = wasChecked; }

CheckedVariable::CheckedVariable(void const* address, std::size_t size, bool isConstant) {
    Range const range = {addressOf(address), addressOf(address) + size};
    variables().insert(firstAfter(variables(), range.begin),
                       {range, isConstant ? Memory::constant : Memory::global});
}

void access(void const* pointer, std::size_t size, AccessKind kind, void const* site) {
    if (!isChecked) return;
    std::uintptr_t const address = addressOf(pointer);
    bool const isOnOwnStack = (address ^ addressOf(__builtin_frame_address(0))) < stackSize;
    if (isOnOwnStack || address - addressOf(&builtIn) < sizeof builtIn) return;
    Unchecked const unchecked;  // what the checker calls may be in a checked unit, too
    racyWrite.settle();
    Check(address, size, kind, site).run();
}

}  // namespace gpuruntime::fibers

// --- What the compiler calls. ---

using gpuruntime::fibers::access;

#define KVGPU_ACCESS(name, size, isWrite, isAtomic)                              \
    extern "C" void __tsan_##name##size(void* address) {                         \
        access(address, size, {isWrite, isAtomic}, __builtin_return_address(0)); \
    }
#define KVGPU_ACCESSES(size)                       \
    KVGPU_ACCESS(read, size, false, false)         \
    KVGPU_ACCESS(write, size, true, false)         \
    KVGPU_ACCESS(volatile_read, size, false, true) \
    KVGPU_ACCESS(volatile_write, size, true, true)
KVGPU_ACCESSES(1)
KVGPU_ACCESSES(2)
KVGPU_ACCESSES(4)
KVGPU_ACCESSES(8)
KVGPU_ACCESSES(16)

extern "C" {

void __tsan_read_range(void* address, unsigned long size) {
    access(address, size, {false, false}, __builtin_return_address(0));
}
void __tsan_write_range(void* address, unsigned long size) {
    access(address, size, {true, false}, __builtin_return_address(0));
}

void __tsan_init() {}
void __tsan_vptr_update(void*, void*) {}

// The atomic operations of the units' host code.
#define KVGPU_ATOMICS(bits, T)                                        \
    T __tsan_atomic##bits##_load(T const volatile* from, int) {       \
        return __atomic_load_n(from, __ATOMIC_SEQ_CST);               \
    }                                                                 \
    void __tsan_atomic##bits##_store(T volatile* to, T value, int) {  \
        __atomic_store_n(to, value, __ATOMIC_SEQ_CST);                \
    }                                                                 \
    T __tsan_atomic##bits##_fetch_add(T volatile* to, T value, int) { \
        return __atomic_fetch_add(to, value, __ATOMIC_SEQ_CST);       \
    }                                                                 \
    T __tsan_atomic##bits##_fetch_sub(T volatile* to, T value, int) { \
        return __atomic_fetch_sub(to, value, __ATOMIC_SEQ_CST);       \
    }
KVGPU_ATOMICS(8, unsigned char)
KVGPU_ATOMICS(32, unsigned int)
KVGPU_ATOMICS(64, unsigned long)
}
