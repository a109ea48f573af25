#pragma once

#include <files/file_lock.h>
#include <resources/document_source.h>
#include <resources/documents/resource_roots.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace Tal {

/// The files below the resource roots as documents. While a file is locked, its name is not looked up again:
/// the lock's handle gives its version and its bytes. Whoever replaces it without a lock is found out by the
/// save.
class FileDocuments final : public DocumentSource {
 public:
  explicit FileDocuments(ResourceRoots roots) : roots_(std::move(roots)) {}

  const ResourceRoots& roots() const noexcept { return roots_; }

  Result<Location> find(BasicStringRef name, bool mayBeNew) override;
  Result<std::optional<files::FileIdentity>> identity(const files::RootedPath& place) override;
  Result<files::FileContent> read(const files::RootedPath& place, std::size_t largest) override;
  Result<files::FileIdentity> readPieces(const files::RootedPath& place,
                                         const std::function<bool(BasicStringRef)>& take) override;
  Result<files::Replaced> replace(const files::RootedPath& place, BasicStringRef bytes,
                                  const std::optional<files::FileIdentity>& version) override;
  /// Shared within this process. A message says once for a file that it cannot be locked.
  Result<std::shared_ptr<const void>> lock(const Location& location) override;

  /// How long `lock` waits for another program; for tests.
  static void setPatience(std::chrono::milliseconds patience) noexcept { s_patience = patience; }

 private:
  /// A place whose file somebody has locked.
  struct Held {
    files::RootedPath place;
    std::weak_ptr<files::FileLock> lock;
  };

  /// The lock of a place that holds its file; null when there is none.
  std::shared_ptr<files::FileLock> lockAt(const files::RootedPath& place) const;
  /// Whether that lock is of one name of the file alone.
  bool isOfOneName(const std::shared_ptr<files::FileLock>& lock) const;
  void warnOfNoLock(const std::filesystem::path& file, const std::string& reason);

  static inline std::chrono::milliseconds s_patience{10'000};

  ResourceRoots roots_;
  std::map<std::filesystem::path, Held> held_;  ///< by name
  std::set<std::filesystem::path> unlockable_;  ///< those whose file system was said to have no locks
};

}  // namespace Tal
