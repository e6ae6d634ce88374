#include "block.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <boost/context/fiber.hpp>
#include <cstdio>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "accesses.hpp"
#include "device_language.hpp"
#include "order.hpp"
#include "reports.hpp"

namespace gpuruntime::fibers {
namespace {

using boost::context::fiber;

/// Stacks at multiples of their size, by which the checker knows what lies on a thread's own. The page at the
/// low end is a guard. At the other end they begin in different cache lines, or they would drive each other
/// out of the caches.
struct Stacks {
    using traits_type = boost::context::stack_traits;

    boost::context::stack_context allocate() {
        constexpr std::size_t guard = 4096, cacheLine = 64, numLines = 512;
        static std::size_t count = 0;
        void* const memory = mmap(nullptr, 2 * stackSize, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        std::size_t const skipped = -reinterpret_cast<std::uintptr_t>(memory) % stackSize;
        char* const base = static_cast<char*>(memory) + skipped;
        mprotect(base, guard, PROT_NONE);
        boost::context::stack_context stack;
        stack.size = stackSize - count++ % numLines * cacheLine;
        stack.sp = base + stack.size;
        return stack;
    }

    /// No fiber ends.
    void deallocate(boost::context::stack_context&) {}
};

enum class State { ready, atBarrier, atShuffle, finished };

constexpr unsigned int warpSize = 32;

struct Thread {
    uint3 index;
    fiber context;
    State state;
    void const* site;     ///< of the barrier or shuffle at which it waits
    unsigned int value;   ///< that it gives to a shuffle, or got from it
    unsigned int source;  ///< the lane whose value it wants
};

/// A warp's shuffle.
struct Warp {
    unsigned int existing;  ///< lanes, as bits, that the block has
    unsigned int mask, arrived;
    void const* site;

    unsigned int expected() const { return mask & existing; }
};

/// The block that runs. Between two barriers each thread runs in turn; those that wait in a shuffle for
/// others go on in a later round.
class Block {
  public:
    void runGrid(Launch const& newLaunch) {
        std::lock_guard const lock(mutex);
        launch = &newLaunch;
        dim3 const grid = launch->grid;
        builtIn.gridSize = grid;
        builtIn.blockSize = launch->block;
        beginLaunch();
        makeThreads();
        std::vector<unsigned int> blocks(grid.x * grid.y * grid.z);
        order.arrange(blocks);
        for (unsigned int const i : blocks) {
            builtIn.blockIndex = {i % grid.x, i / grid.x % grid.y, i / grid.x / grid.y};
            runBlock();
        }
    }

    void waitAtBarrier(void const* site) {
        leaveThread();
        wait(State::atBarrier, site);
    }

    /// The value of the lane `sourceOf(lane)`; all lanes of `mask` take part.
    template <class SourceOf>
    unsigned int shuffle(unsigned int mask, unsigned int value, SourceOf sourceOf, void const* site) {
        leaveThread();
        Warp& warp = warps[current / warpSize];
        unsigned int const lane = current % warpSize, self = 1u << lane;
        if ((mask & self) == 0) report("shuffle", "the mask leaves out the lane that calls", site);
        if (warp.arrived == 0) {
            warp.mask = mask;
            warp.site = site;
        } else if (warp.mask != mask) {
            report("shuffle", "lanes of a warp come with different masks", site, warp.site);
        }
        warp.arrived |= self;
        threads[current].value = value;
        threads[current].source = sourceOf(lane);
        threads[current].state = State::atShuffle;
        if ((warp.arrived & warp.expected()) == warp.expected()) exchange(warp);
        wait(threads[current].state, site);
        return threads[current].value;
    }

    char const* kernel() const { return launch == nullptr ? "none" : launch->kernel; }

  private:
    void makeThreads() {
        dim3 const size = launch->block;
        unsigned int const numThreads = size.x * size.y * size.z;
        threads.resize(numThreads);
        turn.resize(numThreads);
        for (unsigned int t = 0; t < numThreads; ++t) {
            threads[t].index = {t % size.x, t / size.x % size.y, t / size.x / size.y};
        }
        warps.resize((numThreads + warpSize - 1) / warpSize);
        for (unsigned int w = 0; w < warps.size(); ++w) {
            warps[w] = {~0u >> (warpSize - std::min(warpSize, numThreads - w * warpSize)), 0, 0, nullptr};
        }
    }

    void runBlock() {
        beginBlock();
        order.arrange(turn);
        next = 0;
        numStarted = numReady = numFinished = 0;
        handOver(scheduler);
    }

    /// A fiber's program: it starts threads one after another, until one waits. When that has finished and
    /// all have been started, the fiber is idle.
    fiber runThreads(fiber&& from) {
        *left = std::move(from);
        for (;;) {
            while (numStarted < threads.size()) {
                enter(turn[numStarted++]);
                launch->thread(launch->parameters);
                leaveThread();
                threads[current].state = State::finished;
                ++numFinished;
            }
            handOver(idle.emplace_back());
        }
    }

    /// The running thread waits; others run.
    void wait(State state, void const* site) {
        unsigned int const self = current;
        threads[self].state = state;
        threads[self].site = site;
        handOver(threads[self].context);
        enter(self);
    }

    /// Goes on with the thread whose turn it is, or after the last with the scheduler; returns when the
    /// calling fiber, which `self` keeps meanwhile, goes on. Fibers do this among themselves: what a launch
    /// costs are the switches.
    void handOver(fiber& self) {
        if (numStarted < threads.size()) {
            switchTo(idleFiber(), self);
        } else if (numFinished == threads.size()) {
            switchTo(std::move(scheduler), self);
        } else if (fiber& context = nextReady().context; &context != &self) {
            switchTo(std::move(context), self);
        }
    }

    void switchTo(fiber other, fiber& self) {
        left = &self;
        fiber from = std::move(other).resume();
        *left = std::move(from);
    }

    fiber idleFiber() {
        if (idle.empty()) {
            return fiber(std::allocator_arg, Stacks(),
                         [this](fiber&& from) { return runThreads(std::move(from)); });
        }
        fiber context = std::move(idle.back());
        idle.pop_back();
        return context;
    }

    void enter(unsigned int t) {
        current = t;
        builtIn.threadIndex = threads[t].index;
        enterThread(t);
    }

    Thread& nextReady() {
        if (numReady == 0) release();
        while (threads[turn[next]].state != State::ready) next = (next + 1) % turn.size();
        --numReady;
        return threads[turn[next]];
    }

    void exchange(Warp& warp) {
        constexpr unsigned int undefined = 0xa5a5a5a5;  // the value of a lane that takes no part
        std::size_t const first = static_cast<std::size_t>(&warp - warps.data()) * warpSize;
        unsigned int values[warpSize];
        for (unsigned int lane = 0; lane < warpSize; ++lane) {
            values[lane] = (warp.arrived >> lane & 1) != 0 ? threads[first + lane].value : undefined;
        }
        for (unsigned int lane = 0; lane < warpSize; ++lane) {
            if ((warp.arrived >> lane & 1) == 0) continue;
            Thread& thread = threads[first + lane];
            thread.value = values[thread.source % warpSize];
            setReady(thread);
        }
        warp.arrived = 0;
    }

    /// No thread can go on: all are at a barrier or have finished, or something is wrong.
    void release() {
        auto const inShuffle =
            std::find_if(warps.begin(), warps.end(), [](Warp const& warp) { return warp.arrived != 0; });
        if (inShuffle != warps.end()) {
            reportMissingLanes(*inShuffle);
            exchange(*inShuffle);
            return;
        }
        checkBarrier();
        passBarrier();
        order.arrange(turn);
        next = 0;
        for (Thread& thread : threads) {
            if (thread.state == State::atBarrier) setReady(thread);
        }
    }

    void setReady(Thread& thread) {
        thread.state = State::ready;
        ++numReady;
    }

    void reportMissingLanes(Warp const& warp) {
        char text[100];
        std::snprintf(text, sizeof text, "lanes %08x wait for lanes %08x, which do not come", warp.arrived,
                      warp.expected() & ~warp.arrived);
        report("shuffle", text, warp.site);
    }

    void checkBarrier() {
        auto const isWaiting = [](Thread const& thread) { return thread.state == State::atBarrier; };
        auto const waiting = std::find_if(threads.begin(), threads.end(), isWaiting);
        if (numFinished > 0) {
            auto const finished = std::find_if_not(threads.begin(), threads.end(), isWaiting);
            report("barrier",
                   "thread " + std::to_string(finished - threads.begin()) + " ends without it, as do " +
                       std::to_string(numFinished) + " in all, and thread " +
                       std::to_string(waiting - threads.begin()) + " waits",
                   waiting->site);
        }
        for (Thread const& thread : threads) {
            if (isWaiting(thread) && thread.site != waiting->site &&
                !isSamePlace(thread.site, waiting->site)) {
                report("barrier", "threads of a block meet at different ones", waiting->site, thread.site);
                return;
            }
        }
    }

    std::mutex mutex;
    Order order;
    Launch const* launch = nullptr;
    fiber scheduler;  ///< what called runGrid
    std::vector<fiber> idle;
    fiber* left = nullptr;  ///< the place of the fiber that ran last

    std::vector<Thread> threads;
    std::vector<Warp> warps;
    std::vector<unsigned int> turn;  ///< the threads in the order in which they run
    std::size_t next = 0;            ///< in that order
    std::size_t numStarted = 0, numReady = 0, numFinished = 0;
    unsigned int current = 0;
};

Block& block = *new Block;  // never destroyed: its fibers do not end

}  // namespace

void runGrid(Launch const& launch) { block.runGrid(launch); }

char const* runningKernel() { return block.kernel(); }

}  // namespace gpuruntime::fibers

using namespace gpuruntime::fibers;

void __syncthreads() { block.waitAtBarrier(__builtin_return_address(0)); }

/// A lane whose source would lie beyond its part of `width` lanes keeps its own value.
unsigned int __shfl_down_sync(unsigned int mask, unsigned int value, unsigned int delta, int width) {
    auto const source = [=](unsigned int lane) {
        unsigned int const lastOfPart = lane | (static_cast<unsigned int>(width) - 1);
        return lane + delta <= lastOfPart ? lane + delta : lane;
    };
    return block.shuffle(mask, value, source, __builtin_return_address(0));
}
