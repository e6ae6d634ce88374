#pragma once

#include <gpuruntime/interp_type.hpp>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "tests/support/values.hpp"

/// Grids and queries for the tests of interpolation, and where the queries lie by counting points.
namespace gpuruntime::testing {

/// The bin of `q`: points at or below it are counted.
template <class G>
long plainBin(std::vector<G> const& grid, G q) {
    if (std::isnan(q)) return BIN_NAN_QUERY;
    if (q < grid.front()) return BIN_BELOW_GRID;
    if (q > grid.back()) return BIN_ABOVE_GRID;
    long const atOrBelow = std::upper_bound(grid.begin(), grid.end(), q) - grid.begin();
    return std::min(atOrBelow - 1, static_cast<long>(grid.size()) - 2);
}

/// The points 1, 2, ... n.
template <class G>
std::vector<G> colonGrid(unsigned long n) {
    std::vector<G> grid;
    for (unsigned long i = 1; i <= n; ++i) grid.push_back(static_cast<G>(i));
    return grid;
}

/// `n` points whose distances differ by factors up to ten; at random they begin anywhere.
template <class G>
std::vector<G> unevenGrid(unsigned long n, unsigned long seed = 1) {
    std::mt19937_64 engine(seed);
    std::uniform_real_distribution<double> distance(0.1, 1);
    std::vector<G> grid;
    double at = -distance(engine) * static_cast<double>(n) / 4;
    for (unsigned long i = 0; i < n; ++i, at += distance(engine)) grid.push_back(static_cast<G>(at));
    return grid;
}

/// At, beside and between all points, beyond both ends, and special values.
template <class G>
std::vector<G> queriesAround(std::vector<G> const& grid) {
    G const infinity = std::numeric_limits<G>::infinity();
    std::vector<G> queries = specialReals<G>();
    for (unsigned long i = 0; i < grid.size(); ++i) {
        queries.insert(queries.end(),
                       {std::nextafter(grid[i], -infinity), grid[i], std::nextafter(grid[i], infinity)});
        if (i + 1 < grid.size()) {
            G const width = grid[i + 1] - grid[i];
            queries.insert(queries.end(),
                           {grid[i] + width / 2, grid[i] + width / 4, grid[i] + width * G(0.9)});
        }
    }
    queries.insert(queries.end(), {grid.front() - 1, grid.front() - G(2.5), grid.back() + 1,
                                   grid.back() + G(0.375), grid.back() + 100});
    return queries;
}

/// `n` queries, most of them within the grid, in random order, or in ascending order where they are numbers.
template <class G>
std::vector<G> randomQueries(std::vector<G> const& grid, unsigned long n, bool sorted,
                             unsigned long seed = 1) {
    std::mt19937_64 engine(seed);
    double const width = double(grid.back()) - double(grid.front());
    std::uniform_real_distribution<double> uniform(double(grid.front()) - width / 20,
                                                   double(grid.back()) + width / 20);
    std::vector<G> queries;
    for (unsigned long i = 0; i < n; ++i) {
        auto const kind = engine() % 16;
        queries.push_back(kind == 0 ? grid[engine() % grid.size()] : static_cast<G>(uniform(engine)));
    }
    if (sorted) std::sort(queries.begin(), queries.end());
    for (unsigned long i = 0; i < n; ++i) {
        if (engine() % 50 == 0) queries[i] = std::numeric_limits<G>::quiet_NaN();
    }
    return queries;
}

}  // namespace gpuruntime::testing
