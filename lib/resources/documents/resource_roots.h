#pragma once

#include <core/result.h>
#include <core/string_ref.h>
#include <resources/document_source.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Tal {

/// The folders in which resources are looked up, in order, as they were when they were taken.
class ResourceRoots {
 public:
  /// No roots.
  ResourceRoots() = default;

  /// All of `folders`; a fault when one of them is no folder or cannot be examined.
  static Result<ResourceRoots> take(std::vector<std::filesystem::path> folders);

  const std::vector<std::filesystem::path>& folders() const noexcept { return folders_; }

  /// The first root, in which resources are made; empty without roots.
  std::optional<files::RootedPath> first() const;

  /// See DocumentSource.
  Result<Location> find(BasicStringRef resourceName, bool mayBeNew) const;

  /// See FS::MultiFileSystem.
  bool holdNoFile(BasicStringRef resourceName) const;

 private:
  struct Finding;
  static Finding findingAt(const files::RootedPath& place);
  /// What a root has at a place. One that has nothing there and must not be passed over counts as having
  /// something that cannot be used.
  Finding findingIn(std::size_t root, const files::RootedPath& candidate) const;
  /// Why the search must not continue after a root that lacks the resource; empty if it may.
  std::string faultOfPassing(std::size_t root) const;
  /// Why a root is not the folder that was taken; empty when it is.
  std::string faultOfTaken(std::size_t root) const;
  std::string notFoundSince(std::size_t root, const std::string& fault) const;

  std::vector<std::filesystem::path> folders_;
  std::vector<std::optional<files::FileIdentity>> identities_;  ///< of the folders, when they were taken
};

}  // namespace Tal
