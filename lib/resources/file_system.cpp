#include <resources/file_system.h>
#include <resources/path_links.h>
#include <resources/report.h>
#include <resources/resource_monitor.h>
#include <resources/resource_name.h>
#include <resources/section_cache.h>
#include <algorithm>

#include <system_error>
#include <utility>

namespace Tal::FS {
namespace {

namespace fs = std::filesystem;

std::unique_ptr<MultiFileSystem>& current() {
  static std::unique_ptr<MultiFileSystem> fileSystem;
  return fileSystem;
}

bool isRegularFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

/// Why a place below a root may not be used; empty when it may. The place need not exist.
std::string refusalOfPlace(const fs::path& root, fs::path place) {
  std::error_code error;
  if (fs::is_symlink(place, error) && !fs::exists(place, error)) return "is a link to nothing";
  while (!fs::exists(place, error) && place.has_relative_path() && place != root) place = place.parent_path();
  const fs::path target = resolvedPath(place);
  return target.empty() || isPathBelow(target, resolvedPath(root)) ? ""
                                                                   : "leads out of its root through a link";
}

void reportName(BasicStringRef name, const std::string& refusal) {
  reportRefusal("the resource name " + inQuotes(name) + ' ' + refusal +
                "; give a name below the resource roots, such as \"scripts/destructibles.xml\"");
}

}  // namespace

struct MultiFileSystem::State {
  /// Where a resource is; with `mayBeNew` else where it would be made. Empty with the reason when refused.
  std::optional<fs::path> placeOf(BasicStringRef resourceName, bool mayBeNew, std::string& refusal) const;

  std::vector<fs::path> roots;
  std::unique_ptr<ResourceMonitor> monitor;
};

std::optional<fs::path> MultiFileSystem::State::placeOf(BasicStringRef resourceName, bool mayBeNew,
                                                        std::string& refusal) const {
  refusal = refusalOf(resourceName);
  std::optional<fs::path> place;
  if (refusal.empty()) {
    const std::string name = normalisedName(resourceName);
    const auto holder = std::find_if(roots.begin(), roots.end(),
                                     [&](const fs::path& root) { return isRegularFile(root / name); });
    if (holder != roots.end()) {
      place = *holder / name;
      refusal = refusalOfPlace(*holder, *place);
    } else if (mayBeNew && !roots.empty()) {
      place = roots.front() / name;
      refusal = refusalOfPlace(roots.front(), *place);
    }
  }
  return refusal.empty() ? place : std::nullopt;
}

MultiFileSystem::MultiFileSystem(std::vector<fs::path> roots) : state_(std::make_unique<State>()) {
  for (fs::path& root : roots) {
    std::error_code error;
    if (fs::is_directory(root, error)) {
      state_->roots.push_back(std::move(root));
    } else {
      reportRefusal("the resource root " + inQuotes(root.native()) +
                    " is no folder and is left out; make it or name another one");
    }
  }
}

MultiFileSystem::~MultiFileSystem() = default;

const std::vector<fs::path>& MultiFileSystem::roots() const noexcept {
  return state_->roots;
}

std::string MultiFileSystem::refusalOf(BasicStringRef resourceName) {
  return refusalOfName(resourceName);
}

std::optional<fs::path> MultiFileSystem::find(BasicStringRef resourceName) const {
  std::string refusal;
  auto place = state_->placeOf(resourceName, false, refusal);
  if (!refusal.empty()) reportName(resourceName, refusal);
  return place;
}

std::optional<fs::path> MultiFileSystem::locationFor(BasicStringRef resourceName,
                                                     std::string* refusal) const {
  std::string reason;
  auto place = state_->placeOf(resourceName, true, reason);
  if (refusal != nullptr) {
    *refusal = std::move(reason);
  } else if (!reason.empty()) {
    reportName(resourceName, reason);
  }
  return place;
}

MonitorThreadBase* MultiFileSystem::getFilesystemMonitor() {
  if (!state_->monitor) state_->monitor = std::make_unique<ResourceMonitor>(state_->roots);
  return state_->monitor.get();
}

void MultiFileSystem::pump() {
  if (state_->monitor) state_->monitor->pump();
}

MultiFileSystem* fileSystem() noexcept {
  return current().get();
}

void setFileSystem(std::unique_ptr<MultiFileSystem> replacement) {
  SectionCache::instance().clear();
  current() = std::move(replacement);
}

namespace Utils {

SmartPointer<DataSection> openSection(BasicStringRef path, bool create, DataSectionCreator* creator) {
  return SectionCache::instance().open(path, create, creator);
}

}  // namespace Utils
}  // namespace Tal::FS
