#include <core/debug_message.h>
#include <core/display_text.h>
#include <files/open_place.h>
#include <resources/documents/file_documents.h>
#include <resources/resource_name.h>

#include <algorithm>
#include <utility>

namespace Tal {

Result<Location> FileDocuments::find(BasicStringRef name, bool mayBeNew) {
  if (auto checked = checkResourceName(name); !checked) return std::move(checked).fault();
  const auto held = held_.find(std::filesystem::path(normalisedName(name)));
  if (held == held_.end()) return roots_.find(name, mayBeNew);
  const auto lock = held->second.lock.lock();
  const auto version = lock ? lock->identity() : std::nullopt;
  if (!version) return roots_.find(name, mayBeNew);
  return Location{held->second.place, version};
}

Result<std::optional<files::FileIdentity>> FileDocuments::identity(const files::RootedPath& place) {
  const auto opened = files::OpenPlace::open(place);
  if (!opened) return opened.fault();
  return opened->found().file;
}

Result<files::FileContent> FileDocuments::read(const files::RootedPath& place, std::size_t largest) {
  const auto lock = lockAt(place);
  return lock ? files::readFile(lock->descriptor(), largest) : files::readFile(place.path(), largest);
}

Result<files::FileIdentity> FileDocuments::readPieces(const files::RootedPath& place,
                                                      const std::function<bool(BasicStringRef)>& take) {
  const auto lock = lockAt(place);
  return lock ? files::readPieces(lock->descriptor(), take) : files::readPieces(place.path(), take);
}

Result<files::Replaced> FileDocuments::replace(const files::RootedPath& place, BasicStringRef bytes,
                                               const std::optional<files::FileIdentity>& version) {
  // Opened once: a link that is put there meanwhile leads nowhere else.
  const auto opened = files::OpenPlace::open(place);
  if (!opened) return opened.fault();
  const auto lock = lockAt(place);
  return files::replaceVersion(*opened, bytes, version, isOfOneName(lock) ? lock.get() : nullptr);
}

// The system would make a second lock of the same process wait for the first.
Result<std::shared_ptr<const void>> FileDocuments::lock(const Location& location) {
  std::erase_if(held_, [](const auto& held) { return held.second.lock.expired(); });
  if (auto known = lockAt(location.place)) return std::shared_ptr<const void>(std::move(known));
  std::shared_ptr<files::FileLock> lock;
  for (const auto& [name, held] : held_) {  // a file may have several names
    if (auto known = held.lock.lock(); known && files::isSameFile(known->identity(), location.file))
      lock = std::move(known);
  }
  if (!lock) {
    const std::filesystem::path file = location.place.path();
    auto made = files::FileLock::acquire(file, s_patience);
    if (!made) {
      Fault fault = std::move(made).fault();
      fault.what = "cannot save " + quotedName(file.native()) + ": " + fault.what + "; nothing was saved";
      addRemedy(fault, "save again");
      return fault;
    }
    if (!made->absence().empty()) warnOfNoLock(file, made->absence());
    lock = std::make_shared<files::FileLock>(*std::move(made));
  }
  held_.insert_or_assign(location.place.name, Held{location.place, lock});
  return std::shared_ptr<const void>(std::move(lock));
}

std::shared_ptr<files::FileLock> FileDocuments::lockAt(const files::RootedPath& place) const {
  const auto held = held_.find(place.name);
  if (held == held_.end() || held->second.place != place) return nullptr;
  auto lock = held->second.lock.lock();
  return lock && lock->descriptor() >= 0 ? lock : nullptr;
}

bool FileDocuments::isOfOneName(const std::shared_ptr<files::FileLock>& lock) const {
  return std::ranges::count_if(held_, [&](const auto& held) { return held.second.lock.lock() == lock; }) == 1;
}

void FileDocuments::warnOfNoLock(const std::filesystem::path& file, const std::string& reason) {
  if (!unlockable_.insert(file).second) return;
  DebugMessageHelper({0, 4}, "", 0)
      .message(quotedName(file.native()) + " cannot be locked here (" + reason +
               "): take care that no other program saves it at the same time");
}

}  // namespace Tal
