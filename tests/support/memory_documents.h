#pragma once

#include <resources/document_source.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// Documents in memory, as an editor with unsaved buffers may have them, in front of another source if any.
/// Each version has a number.
class MemoryDocuments : public Tal::DocumentSource {
 public:
  explicit MemoryDocuments(std::shared_ptr<Tal::DocumentSource> others = nullptr)
      : others_(std::move(others)) {}

  /// What somebody else writes, which is a change.
  void put(const std::string& name, std::string text) {
    const bool isNew = !documents_.contains(name);
    documents_[name] = {std::move(text), ++lastVersion_};
    changes_.push_back({"memory", name, isNew ? Tal::watch::Action::added : Tal::watch::Action::modified});
  }

  const std::string& text(const std::string& name) const { return documents_.at(name).text; }

  Tal::Result<Tal::Location> find(Tal::BasicStringRef name, bool mayBeNew) override {
    Tal::Location location{{"memory", name}, versionOf(std::string(name))};
    if (!location.file && others_) return others_->find(name, mayBeNew);
    if (location.file || mayBeNew) return location;
    return Tal::Fault{Tal::FaultKind::missing, "is no document in memory", "put it there"};
  }

  Tal::Result<std::optional<Tal::files::FileIdentity>> identity(
      const Tal::files::RootedPath& place) override {
    return isOther(place) ? others_->identity(place) : versionOf(place.name);
  }

  Tal::Result<Tal::files::FileContent> read(const Tal::files::RootedPath& place,
                                            std::size_t largest) override {
    if (isOther(place)) return others_->read(place, largest);
    const auto version = versionOf(place.name);
    if (!version) return Tal::Fault{Tal::FaultKind::missing, "is gone", "put it there"};
    return Tal::files::FileContent{Tal::files::ByteBuffer::copyOf(text(place.name)), *version};
  }

  Tal::Result<Tal::files::Replaced> replace(const Tal::files::RootedPath& place, Tal::BasicStringRef bytes,
                                            const std::optional<Tal::files::FileIdentity>& version) override {
    if (isOther(place)) return others_->replace(place, bytes, version);
    if (versionOf(place.name) != version)
      return Tal::Fault{Tal::FaultKind::changed, "somebody has changed it", "look at that change"};
    documents_[place.name] = {std::string(bytes), ++lastVersion_};
    return Tal::files::Replaced{versionOf(place.name), {}};
  }

  std::vector<Tal::watch::ResourceChange> takeChanges() override { return std::exchange(changes_, {}); }

 private:
  struct Document {
    std::string text;
    std::uint64_t version = 0;
  };

  bool isOther(const Tal::files::RootedPath& place) const { return others_ && place.root != "memory"; }

  std::optional<Tal::files::FileIdentity> versionOf(const std::string& name) const {
    const auto found = documents_.find(name);
    if (found == documents_.end()) return std::nullopt;
    return Tal::files::FileIdentity{.inode = found->second.version,
                                    .size = static_cast<std::int64_t>(found->second.text.size())};
  }

  std::shared_ptr<Tal::DocumentSource> others_;
  std::map<std::string, Document> documents_;
  std::uint64_t lastVersion_ = 0;
  std::vector<Tal::watch::ResourceChange> changes_;
};

}  // namespace support
