#include <core/display_text.h>
#include <files/place_status.h>
#include <resources/documents/resource_roots.h>
#include <resources/resource_name.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Tal {
namespace {

namespace fs = std::filesystem;

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

/// Whether what fails so cannot be a file: no folder takes such a name, no file is behind such links.
bool meansNoFile(int code) {
  return code == ENAMETOOLONG || code == ELOOP;
}

constexpr const char* kLeadsOut = "leads out of its root through a link";

Fault refusedPlace(std::string what) {
  return {FaultKind::refused, std::move(what),
          "what stands there must be a file below a root that is there and can be read"};
}

}  // namespace

/// What a root has at a place.
struct ResourceRoots::Finding {
  bool isThere = false;  ///< something that stands for the resource, if only a link that leads nowhere
  std::string fault;     ///< why it cannot be used; empty when it can
  bool isFile = true;    ///< a regular file, or what may be one
  std::optional<files::FileIdentity> identity = {};  ///< of a file
  bool isOutside = false;  ///< nothing is there, nor is the place itself below the root
};

ResourceRoots::Finding ResourceRoots::findingAt(const files::RootedPath& place) {
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
  return {true, notExamined(status.code), !meansNoFile(status.code)};
}

Result<Location> ResourceRoots::find(BasicStringRef resourceName, bool mayBeNew) const {
  if (auto checked = checkResourceName(resourceName); !checked) return std::move(checked).fault();
  const fs::path name = normalisedName(resourceName);
  const bool mayBeGone = !mayBeNew && folders_.size() == 1;  // no other one can stand in for it
  std::optional<Location> location;
  std::string refusal;
  for (std::size_t index = 0; index < folders_.size() && !(location && location->file); ++index) {
    const files::RootedPath candidate{folders_[index], name, identities_[index]};
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

ResourceRoots::Finding ResourceRoots::findingIn(std::size_t root, const files::RootedPath& candidate) const {
  const Finding finding = findingAt(candidate);
  const std::string fault = finding.isThere ? faultOfTaken(root) : faultOfPassing(root);
  if (fault.empty()) return finding;
  return {true, fault};
}

// What a root held that is gone, or another folder by now, is not to be taken from the next one.
std::string ResourceRoots::faultOfPassing(std::size_t root) const {
  std::string fault = faultOfTaken(root);
  if (!fault.empty()) return fault;
  fault = faultOfRoot(folders_[root]);
  return fault.empty() ? fault : notFoundSince(root, fault);
}

std::string ResourceRoots::faultOfTaken(std::size_t root) const {
  const std::optional<files::FileIdentity> now = files::identityAt(folders_[root]);
  if (!now && errno != ENOENT) return notFoundSince(root, notExamined(errno));
  return files::isSameFile(now, identities_[root])
             ? std::string()
             : notFoundSince(root, "is not the folder any more that it was");
}

std::string ResourceRoots::notFoundSince(std::size_t root, const std::string& fault) const {
  return "cannot be found, since the resource root " + quotedName(folders_[root].native()) + ' ' + fault;
}

Result<ResourceRoots> ResourceRoots::take(std::vector<fs::path> folders) {
  ResourceRoots roots;
  for (const fs::path& root : folders) {
    std::string fault = faultOfRoot(root);
    if (fault.empty() && !roots.identities_.emplace_back(files::identityAt(root))) fault = notExamined(errno);
    if (fault.empty()) continue;
    return Fault{FaultKind::refused, "the resource root " + quotedName(root.native()) + ' ' + fault,
                 "name a folder that exists and can be read"};
  }
  roots.folders_ = std::move(folders);
  return roots;
}

std::optional<files::RootedPath> ResourceRoots::first() const {
  if (folders_.empty()) return std::nullopt;
  return files::RootedPath{folders_.front(), {}, identities_.front()};
}

bool ResourceRoots::holdNoFile(BasicStringRef resourceName) const {
  if (!checkResourceName(resourceName)) return true;
  const fs::path name = normalisedName(resourceName);
  for (std::size_t index = 0; index < folders_.size(); ++index)
    if (!faultOfPassing(index).empty() || findingAt({folders_[index], name}).isFile) return false;
  return true;
}

}  // namespace Tal
