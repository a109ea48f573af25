#include "include_cycles.h"

#include <algorithm>
#include <set>

namespace architecture {
namespace {

/// Walks the graph depth first and notes a cycle where the way comes back to a file that it goes through.
class Walk {
 public:
  explicit Walk(const IncludeGraph& graph) : graph_(graph) {}

  void visit(const std::string& file) {
    const auto onWay = std::find(way_.begin(), way_.end(), file);
    if (onWay != way_.end()) {
      cycles_.emplace_back(onWay, way_.end());
      cycles_.back().push_back(file);
      return;
    }
    const auto node = graph_.find(file);
    if (node == graph_.end() || !visited_.insert(file).second) return;
    way_.push_back(file);
    for (const std::string& included : node->second) visit(included);
    way_.pop_back();
  }

  std::vector<std::vector<std::string>> takeCycles() { return std::move(cycles_); }

 private:
  const IncludeGraph& graph_;
  std::set<std::string> visited_;
  std::vector<std::string> way_;
  std::vector<std::vector<std::string>> cycles_;
};

}  // namespace

std::vector<std::vector<std::string>> includeCycles(const IncludeGraph& graph) {
  Walk walk(graph);
  for (const auto& node : graph) walk.visit(node.first);
  return walk.takeCycles();
}

}  // namespace architecture
