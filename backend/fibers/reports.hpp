#pragma once

#include <string>
#include <vector>

/// What kernels did wrong. A process that has reports ends with a failing status.
namespace gpuruntime::fibers {

/// The kind of reports that are told but are no error.
inline constexpr char harmlessRace[] = "harmless race";

/// Reports what the running thread does. `site` and `otherSite` are return addresses in the units' code.
void report(char const* kind, std::string const& text, void const* site, void const* otherSite = nullptr);

/// Whether both addresses belong to one place in the source: the compiler may make several of it.
bool isSamePlace(void const* site, void const* otherSite);

struct Report {
    std::string kind, kernel, text;
    std::string place, otherPlace;  ///< "file:line < file:line", the second calling the first, inlined
    unsigned int count;             ///< of the same kind and kernel, of which this is the first
};

/// The reports since the last call, which are thereby forgotten.
std::vector<Report> takeReports();

}  // namespace gpuruntime::fibers
