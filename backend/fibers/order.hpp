#pragma once

#include <random>
#include <vector>

namespace gpuruntime::fibers {

/// The order in which the threads of a block, and the blocks of a grid, run. The environment chooses:
/// KVGPU_ORDER=ascending (where nothing is said), descending, shuffled or shuffled:<seed>.
class Order {
  public:
    Order();

    /// Fills `numbers` with those from 0 on.
    void arrange(std::vector<unsigned int>& numbers);

  private:
    enum class Kind { ascending, descending, shuffled } kind;
    std::minstd_rand engine;
};

}  // namespace gpuruntime::fibers
