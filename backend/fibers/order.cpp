#include "order.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>

namespace gpuruntime::fibers {

Order::Order() {
    char const* const chosen = std::getenv("KVGPU_ORDER");
    std::string const text = chosen == nullptr ? "ascending" : chosen;
    std::string const name = text.substr(0, text.find(':'));
    if (name == "ascending") {
        kind = Kind::ascending;
    } else if (name == "descending") {
        kind = Kind::descending;
    } else if (name == "shuffled") {
        kind = Kind::shuffled;
        if (name != text) engine.seed(static_cast<unsigned int>(std::stoul(text.substr(name.size() + 1))));
    } else {
        std::fprintf(stderr, "fibers: KVGPU_ORDER is \"%s\", which is no order\n", text.c_str());
        std::abort();
    }
}

void Order::arrange(std::vector<unsigned int>& numbers) {
    std::iota(numbers.begin(), numbers.end(), 0u);
    if (kind == Kind::descending) std::reverse(numbers.begin(), numbers.end());
    if (kind == Kind::shuffled) std::shuffle(numbers.begin(), numbers.end(), engine);
}

}  // namespace gpuruntime::fibers
