#include <core/display_text.h>
#include <resources/documents/section_cache.h>
#include <resources/documents/section_document.h>
#include <resources/documents/xml_section.h>
#include <resources/file_system.h>
#include <resources/files/path_links.h>
#include <resources/report.h>
#include <resources/resource_name.h>
#include <resources/watch/resource_monitor.h>

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

/// Why a folder cannot be a root; empty when it can.
std::string faultOfRoot(const fs::path& root) {
  std::error_code error;
  const fs::file_status status = fs::status(root, error);
  if (fs::is_directory(status)) return {};
  return fs::status_known(status) ? "is no folder" : notExamined(error);
}

/// What the last call to the system has failed with.
std::error_code lastError() {
  return {errno, std::generic_category()};
}

/// What a root has at a place.
struct Finding {
  bool isThere = false;  ///< something that stands for the resource, if only a link that leads nowhere
  std::string fault;     ///< why it cannot be used; empty when it can
  bool isFile = true;    ///< a regular file, or what may be one
};

/// Whether what fails so cannot be a file: no folder takes such a name, no file is behind such links.
bool tellsOfNoFile(const std::error_code& error) {
  return error == std::errc::filename_too_long || error == std::errc::too_many_symbolic_link_levels;
}

Finding lookAt(const RootedPath& place) {
  std::error_code error;
  const fs::file_status status = fs::status(place.path(), error);
  if (fs::is_regular_file(status)) return {true, ""};
  if (fs::exists(status)) return {false, "is no regular file", false};
  if (status.type() != fs::file_type::not_found) return {true, notExamined(error), !tellsOfNoFile(error)};
  const fs::file_type link = fs::symlink_status(place.path(), error).type();
  if (link == fs::file_type::symlink) return {true, "is a link to nothing", false};
  if (link == fs::file_type::not_found) return {false, "", false};
  return {true, error ? notExamined(error) : "is being exchanged by another program"};
}

/// Why a place below a root may not be used; empty when it may. The place need not exist.
std::string refusalOfPlace(const RootedPath& place) {
  std::error_code error;
  const fs::path root = fs::canonical(place.root, error);
  const fs::path target = error ? fs::path() : fs::weakly_canonical(place.path(), error);
  if (error) return notExamined(error);
  return isPathBelow(target, root) ? "" : "leads out of its root through a link";
}

constexpr BasicStringRef kAdvice =
    "; what stands there must be a file below a root that is there and can be read";

void reportRefused(BasicStringRef name, const std::string& refusal) {
  const bool isOfName = !refusalOfName(name).empty();
  reportRefusal("the resource name " + quotedName(name) + ' ' + refusal +
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
  std::optional<RootedPath> placeOf(BasicStringRef resourceName, bool mayBeNew, std::string& refusal) const;
  /// What a root has at a place. One that has nothing there and must not be passed over counts as having
  /// something that cannot be used.
  Finding findingIn(std::size_t root, const RootedPath& candidate) const;
  /// Why a root that does not hold a resource must not be passed over; empty when it may.
  std::string faultOfPassing(std::size_t root) const;
  /// Why a root is not the folder that was taken; empty when it is.
  std::string faultOfTaken(std::size_t root) const;
  std::string notFoundSince(std::size_t root, const std::string& fault) const;
  /// Takes all of them, or none with the reason.
  std::string take(std::vector<fs::path> folders);

  std::vector<fs::path> roots;
  std::vector<std::optional<FileIdentity>> identities;  ///< of the roots, when they were taken
  std::unique_ptr<ResourceMonitor> monitor;
};

std::optional<RootedPath> MultiFileSystem::State::placeOf(BasicStringRef resourceName, bool mayBeNew,
                                                          std::string& refusal) const {
  refusal = refusalOf(resourceName);
  if (!refusal.empty()) return std::nullopt;
  const fs::path name = normalisedName(resourceName);
  std::optional<RootedPath> place;
  if (mayBeNew && !roots.empty()) place = RootedPath{roots.front(), name, identities.front()};
  const bool mayBeGone = !mayBeNew && roots.size() == 1;  // no other one can stand in for it
  for (std::size_t index = 0; index < roots.size(); ++index) {
    RootedPath candidate{roots[index], name, identities[index]};
    const Finding finding = mayBeGone ? lookAt(candidate) : findingIn(index, candidate);
    if (finding.isThere || refusal.empty()) refusal = finding.fault;
    if (!finding.isThere) continue;
    place = std::move(candidate);
    break;
  }
  if (place && refusal.empty()) refusal = refusalOfPlace(*place);
  return refusal.empty() ? place : std::nullopt;
}

Finding MultiFileSystem::State::findingIn(std::size_t root, const RootedPath& candidate) const {
  const Finding finding = lookAt(candidate);
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
  const std::optional<FileIdentity> now = identityAt(roots[root]);
  if (!now && errno != ENOENT) return notFoundSince(root, notExamined(lastError()));
  return isSameFile(now, identities[root]) ? std::string()
                                           : notFoundSince(root, "is not the folder any more that it was");
}

std::string MultiFileSystem::State::notFoundSince(std::size_t root, const std::string& fault) const {
  return "cannot be found, since the resource root " + quotedName(roots[root].native()) + ' ' + fault;
}

std::string MultiFileSystem::State::take(std::vector<fs::path> folders) {
  std::vector<std::optional<FileIdentity>> taken;
  for (const fs::path& root : folders) {
    std::string fault = faultOfRoot(root);
    if (fault.empty() && !taken.emplace_back(identityAt(root))) fault = notExamined(lastError());
    if (fault.empty()) continue;
    return "the resource root " + quotedName(root.native()) + ' ' + fault +
           "; name a folder that exists and can be read";
  }
  roots = std::move(folders);
  identities = std::move(taken);
  return {};
}

MultiFileSystem::MultiFileSystem(std::vector<fs::path> roots) : state_(std::make_unique<State>()) {
  const std::string refusal = state_->take(std::move(roots));
  if (!refusal.empty()) reportRefusal(refusal);
}

std::unique_ptr<MultiFileSystem> MultiFileSystem::open(std::vector<fs::path> roots, std::string& refusal) {
  auto files = std::make_unique<MultiFileSystem>(std::vector<fs::path>());
  refusal = files->state_->take(std::move(roots));
  return refusal.empty() ? std::move(files) : nullptr;
}

MultiFileSystem::~MultiFileSystem() = default;

const std::vector<fs::path>& MultiFileSystem::roots() const noexcept {
  return state_->roots;
}

std::optional<RootedPath> MultiFileSystem::firstRoot() const {
  if (state_->roots.empty()) return std::nullopt;
  return RootedPath{state_->roots.front(), {}, state_->identities.front()};
}

std::string MultiFileSystem::refusalOf(BasicStringRef resourceName) {
  return refusalOfName(resourceName);
}

std::optional<RootedPath> MultiFileSystem::find(BasicStringRef resourceName, std::string* refusal) const {
  std::string reason;
  auto place = state_->placeOf(resourceName, false, reason);
  passOn(resourceName, std::move(reason), refusal);
  return place;
}

bool MultiFileSystem::holdNoFile(BasicStringRef resourceName) const {
  if (!refusalOf(resourceName).empty()) return true;
  const fs::path name = normalisedName(resourceName);
  for (std::size_t index = 0; index < state_->roots.size(); ++index)
    if (!state_->faultOfPassing(index).empty() || lookAt({state_->roots[index], name}).isFile) return false;
  return true;
}

std::optional<RootedPath> MultiFileSystem::locationFor(BasicStringRef resourceName,
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

SmartPointer<DataSection> readSection(const RootedPath& place, std::string& refusal) {
  SectionDocument::Refusal reason;
  const SmartPointer<SectionDocument> document = SectionDocument::read(place, reason);
  if (!document) {
    refusal = std::move(reason.text);
    return nullptr;
  }
  return new XmlSection(document, document->tree().root());
}

}  // namespace Utils
}  // namespace Tal::FS
