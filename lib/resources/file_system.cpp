#include <resources/documents/section_cache.h>
#include <resources/file_system.h>
#include <resources/files/path_links.h>
#include <resources/report.h>
#include <resources/resource_name.h>
#include <resources/watch/resource_monitor.h>

#include <system_error>
#include <utility>

namespace Tal::FS {
namespace {

namespace fs = std::filesystem;

std::unique_ptr<MultiFileSystem>& current() {
  static std::unique_ptr<MultiFileSystem> fileSystem;
  return fileSystem;
}

/// What a root has at a place.
struct Finding {
  bool isThere = false;  ///< something that stands for the resource, if only a link that leads nowhere
  std::string fault;     ///< why it cannot be used; empty when it can
};

Finding lookAt(const fs::path& place) {
  std::error_code error;
  const fs::file_status status = fs::status(place, error);
  if (fs::is_regular_file(status)) return {true, ""};
  if (fs::exists(status)) return {false, "is no regular file"};
  if (status.type() != fs::file_type::not_found) return {true, "cannot be examined: " + error.message()};
  return fs::is_symlink(place, error) ? Finding{true, "is a link to nothing"} : Finding();
}

/// Why a place below a root may not be used; empty when it may. The place need not exist.
std::string refusalOfPlace(const fs::path& root, fs::path place) {
  std::error_code error;
  while (!fs::exists(place, error) && place.has_relative_path() && place != root) place = place.parent_path();
  const fs::path target = resolvedPath(place);
  return target.empty() || isPathBelow(target, resolvedPath(root)) ? ""
                                                                   : "leads out of its root through a link";
}

constexpr BasicStringRef kAdvice = "; what stands there must be a file below the root that can be read";

void reportRefused(BasicStringRef name, const std::string& refusal) {
  const bool isOfName = !refusalOfName(name).empty();
  reportRefusal("the resource name " + inQuotes(name) + ' ' + refusal +
                (isOfName ? "; give a name below the resource roots, such as \"scripts/destructibles.xml\""
                          : std::string(kAdvice)));
}

/// Hands out the reason of a refusal, or reports it when nobody takes it.
void passOn(BasicStringRef name, std::string reason, std::string* refusal) {
  if (refusal != nullptr) {
    *refusal = std::move(reason);
  } else if (!reason.empty()) {
    reportRefused(name, reason);
  }
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
    for (const fs::path& root : roots) {
      const Finding finding = lookAt(root / name);
      if (finding.isThere || refusal.empty()) refusal = finding.fault;
      if (!finding.isThere) continue;
      place = root / name;
      if (refusal.empty()) refusal = refusalOfPlace(root, *place);
      return refusal.empty() ? place : std::nullopt;
    }
    if (mayBeNew && !roots.empty()) {
      place = roots.front() / name;
      if (refusal.empty()) refusal = refusalOfPlace(roots.front(), *place);
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

std::optional<fs::path> MultiFileSystem::find(BasicStringRef resourceName, std::string* refusal) const {
  std::string reason;
  auto place = state_->placeOf(resourceName, false, reason);
  passOn(resourceName, std::move(reason), refusal);
  return place;
}

std::optional<fs::path> MultiFileSystem::locationFor(BasicStringRef resourceName,
                                                     std::string* refusal) const {
  std::string reason;
  auto place = state_->placeOf(resourceName, true, reason);
  passOn(resourceName, std::move(reason), refusal);
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
