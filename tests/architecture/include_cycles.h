#pragma once

#include <map>
#include <string>
#include <vector>

namespace architecture {

/// Which files each file includes, by path.
using IncludeGraph = std::map<std::string, std::vector<std::string>>;

/// The cycles of the graph, each as the files along it with the first one again at the end; every file that
/// is on a cycle is on one that is returned, though not every way through it is.
std::vector<std::vector<std::string>> includeCycles(const IncludeGraph& graph);

}  // namespace architecture
