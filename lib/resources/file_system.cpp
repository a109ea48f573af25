#include <core/display_text.h>
#include <files/place_status.h>
#include <resources/documents/section_cache.h>
#include <resources/documents/section_document.h>
#include <resources/documents/xml_section.h>
#include <resources/file_system.h>
#include <resources/monitoring/resource_monitor.h>
#include <resources/report.h>
#include <resources/resource_name.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Tal::FS {
namespace {

namespace fs = std::filesystem;

std::unique_ptr<MultiFileSystem>& current() {
  static std::unique_ptr<MultiFileSystem> fileSystem;
  return fileSystem;
}

std::string notExamined(const std::error_code& error) {
  return "cannot be examined: " + error.message();
}

std::string notExamined(int code) {
  return notExamined(std::error_code(code, std::generic_category()));
}

/// Why a folder cannot be a root; empty when it can.
std::string faultOfRoot(const fs::path& root) {
  std::error_code error;
  const fs::file_status status = fs::status(root, error);
  if (fs::is_directory(status)) return {};
  // The standard library takes what is too large for it to describe for a file of an unknown type.
  if (status.type() == fs::file_type::unknown) return notExamined(EOVERFLOW);
  return fs::status_known(status) ? "is no folder" : notExamined(error);
}

/// What a root has at a place.
struct Finding {
  bool isThere = false;  ///< something that stands for the resource, if only a link that leads nowhere
  std::string fault;     ///< why it cannot be used; empty when it can
  bool isFile = true;    ///< a regular file, or what may be one
  std::optional<files::FileIdentity> identity = {};  ///< of a file
  bool isOutside = false;  ///< nothing is there, nor is the place itself below the root
};

/// Whether what fails so cannot be a file: no folder takes such a name, no file is behind such links.
bool tellsOfNoFile(int code) {
  return code == ENAMETOOLONG || code == ELOOP;
}

constexpr const char* kLeadsOut = "leads out of its root through a link";

Finding findingAt(const files::RootedPath& place) {
  using Kind = files::PlaceStatus::Kind;
  const files::PlaceStatus status = files::statusOf(place);
  switch (status.kind) {
    case Kind::file:
      return {true, status.isOutside ? kLeadsOut : "", true, status.identity};
    case Kind::other:
      return {false, "is no regular file", false};
    case Kind::deadLink:
      return {true, "is a link to nothing", false};
    case Kind::nothing:
      return {false, "", false, {}, status.isOutside};
    case Kind::unknown:
      break;
  }
  if (status.code == EAGAIN) return {true, "is being exchanged by another program"};
  return {true, notExamined(status.code), !tellsOfNoFile(status.code)};
}

Fault refusedPlace(std::string what) {
  return {FaultKind::refused, std::move(what),
          "what stands there must be a file below a root that is there and can be read"};
}

}  // namespace

struct MultiFileSystem::State {
  /// Where a resource is; with `mayBeNew` else where it would be made.
  Result<Location> locationOf(BasicStringRef resourceName, bool mayBeNew) const;
  /// What a root has at a place. One that has nothing there and must not be passed over counts as having
  /// something that cannot be used.
  Finding findingIn(std::size_t root, const files::RootedPath& candidate) const;
  /// Why a root that does not hold a resource must not be passed over; empty when it may.
  std::string faultOfPassing(std::size_t root) const;
  /// Why a root is not the folder that was taken; empty when it is.
  std::string faultOfTaken(std::size_t root) const;
  std::string notFoundSince(std::size_t root, const std::string& fault) const;
  /// Takes all of them, or none.
  Result<void> take(std::vector<fs::path> folders);

  std::vector<fs::path> roots;
  std::vector<std::optional<files::FileIdentity>> identities;  ///< of the roots, when they were taken
  std::unique_ptr<ResourceMonitor> monitor;
};

Result<Location> MultiFileSystem::State::locationOf(BasicStringRef resourceName, bool mayBeNew) const {
  if (auto checked = checkName(resourceName); !checked) return std::move(checked).fault();
  const fs::path name = normalisedName(resourceName);
  const bool mayBeGone = !mayBeNew && roots.size() == 1;  // no other one can stand in for it
  std::optional<Location> location;
  std::string refusal;
  for (std::size_t index = 0; index < roots.size() && !(location && location->file); ++index) {
    const files::RootedPath candidate{roots[index], name, identities[index]};
    const Finding finding = mayBeGone ? findingAt(candidate) : findingIn(index, candidate);
    if (finding.isThere || refusal.empty()) refusal = finding.fault;
    if (finding.isThere && !refusal.empty()) break;
    const bool isForNew = mayBeNew && index == 0;
    if (isForNew && finding.isOutside) refusal = kLeadsOut;
    if (finding.isThere || isForNew) location = Location{candidate, finding.identity};
  }
  if (!refusal.empty()) return refusedPlace(std::move(refusal));
  if (!location) return Fault{FaultKind::missing, "is in no resource root", "put it there"};
  return *std::move(location);
}

Finding MultiFileSystem::State::findingIn(std::size_t root, const files::RootedPath& candidate) const {
  const Finding finding = findingAt(candidate);
  const std::string fault = finding.isThere ? faultOfTaken(root) : faultOfPassing(root);
  if (fault.empty()) return finding;
  return {true, fault};
}

// What a root held that is gone, or another folder by now, is not to be taken from the next one.
std::string MultiFileSystem::State::faultOfPassing(std::size_t root) const {
  std::string fault = faultOfTaken(root);
  if (!fault.empty()) return fault;
  fault = faultOfRoot(roots[root]);
  return fault.empty() ? fault : notFoundSince(root, fault);
}

std::string MultiFileSystem::State::faultOfTaken(std::size_t root) const {
  const std::optional<files::FileIdentity> now = files::identityAt(roots[root]);
  if (!now && errno != ENOENT) return notFoundSince(root, notExamined(errno));
  return files::isSameFile(now, identities[root])
             ? std::string()
             : notFoundSince(root, "is not the folder any more that it was");
}

std::string MultiFileSystem::State::notFoundSince(std::size_t root, const std::string& fault) const {
  return "cannot be found, since the resource root " + quotedName(roots[root].native()) + ' ' + fault;
}

Result<void> MultiFileSystem::State::take(std::vector<fs::path> folders) {
  std::vector<std::optional<files::FileIdentity>> taken;
  for (const fs::path& root : folders) {
    std::string fault = faultOfRoot(root);
    if (fault.empty() && !taken.emplace_back(files::identityAt(root))) fault = notExamined(errno);
    if (fault.empty()) continue;
    return Fault{FaultKind::refused, "the resource root " + quotedName(root.native()) + ' ' + fault,
                 "name a folder that exists and can be read"};
  }
  roots = std::move(folders);
  identities = std::move(taken);
  return {};
}

MultiFileSystem::MultiFileSystem(std::vector<fs::path> roots) : state_(std::make_unique<State>()) {
  if (auto taken = state_->take(std::move(roots)); !taken) reportRefusal(textOf(taken.fault()));
}

Result<std::unique_ptr<MultiFileSystem>> MultiFileSystem::open(std::vector<fs::path> roots) {
  auto files = std::make_unique<MultiFileSystem>(std::vector<fs::path>());
  if (auto taken = files->state_->take(std::move(roots)); !taken) return std::move(taken).fault();
  return files;
}

MultiFileSystem::~MultiFileSystem() = default;

const std::vector<fs::path>& MultiFileSystem::roots() const noexcept {
  return state_->roots;
}

std::optional<files::RootedPath> MultiFileSystem::firstRoot() const {
  if (state_->roots.empty()) return std::nullopt;
  return files::RootedPath{state_->roots.front(), {}, state_->identities.front()};
}

Result<void> MultiFileSystem::checkName(BasicStringRef resourceName) {
  return checkResourceName(resourceName);
}

Result<files::RootedPath> MultiFileSystem::find(BasicStringRef resourceName) const {
  auto location = locate(resourceName, false);
  if (!location) return std::move(location).fault();
  return std::move(location->place);
}

bool MultiFileSystem::holdNoFile(BasicStringRef resourceName) const {
  if (!checkName(resourceName)) return true;
  const fs::path name = normalisedName(resourceName);
  for (std::size_t index = 0; index < state_->roots.size(); ++index)
    if (!state_->faultOfPassing(index).empty() || findingAt({state_->roots[index], name}).isFile)
      return false;
  return true;
}

Result<files::RootedPath> MultiFileSystem::locationFor(BasicStringRef resourceName) const {
  auto location = locate(resourceName, true);
  if (!location) return std::move(location).fault();
  return std::move(location->place);
}

Result<Location> MultiFileSystem::locate(BasicStringRef resourceName, bool mayBeNew) const {
  return state_->locationOf(resourceName, mayBeNew);
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

void reportRefused(BasicStringRef resourceName, const Fault& fault) {
  if (fault.kind == FaultKind::missing) return;
  reportRefusal("the resource name " + quotedName(resourceName) + ' ' + textOf(fault));
}

namespace Utils {

SmartPointer<DataSection> openSection(BasicStringRef path, bool create, DataSectionCreator* creator) {
  if (const auto locked = SectionCache::lock(path); !locked) {
    reportFailedSave(locked.fault());
    return nullptr;
  }
  auto section = SectionCache::instance().open(path, create, creator);
  if (section) return *std::move(section);
  SectionCache::instance().report(path, section.fault());
  return nullptr;
}

Result<SmartPointer<DataSection>> openResource(BasicStringRef path) {
  if (auto locked = SectionCache::lock(path); !locked) return std::move(locked).fault();
  return SectionCache::instance().open(path, false, nullptr);
}

Result<SmartPointer<DataSection>> readSection(const files::RootedPath& place) {
  auto document = SectionDocument::read(place);
  if (!document) return std::move(document).fault();
  return SmartPointer<DataSection>(new XmlSection(*document, (*document)->tree().root()));
}

}  // namespace Utils
}  // namespace Tal::FS
