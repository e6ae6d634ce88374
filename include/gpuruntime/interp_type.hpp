#pragma once

namespace gpuruntime {

/// How an interpolation goes between the points of its grid and beyond them. A family takes two: the method,
/// then the extrapolation.
///
/// | value         | as the method                                | as the extrapolation |
/// |---------------|----------------------------------------------|--------------------------------------------|
/// | `Linear`      | the blend of the two bracketing values       | the first or last interval's line goes on
/// | | `Nearest`     | the nearer value, of two as near the upper   | the first or last value | | `Cubic` |
/// cubic convolution, in one and two dimensions | none: yields 0                             | |
/// `ExtrapValue` | none: yields 0                               | the value that the caller gives |
///
/// Any other value yields 0, too.
enum class InterpType : unsigned int { Linear = 0, Nearest = 1, Cubic = 2, ExtrapValue = 3 };

/// Results of a search besides an interval.
inline constexpr long BIN_BELOW_GRID = -1;   ///< below the first point
inline constexpr long BIN_ABOVE_GRID = -10;  ///< above the last point
inline constexpr long BIN_NAN_QUERY = -20;   ///< the query is NaN

}  // namespace gpuruntime
