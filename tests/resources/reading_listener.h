#pragma once

#include <support/change_scenarios.h>

#include <resources/data_section.h>
#include <resources/file_system.h>
#include <resources/monitor.h>
#include <resources/resource_modification_listener.h>

#include <memory>
#include <string>
#include <vector>

/// Reads the database of a database when it is reported, at most once a frame, as the editing module does.
class ReadingListener : public Tal::ResourceModificationListener {
 public:
  explicit ReadingListener(support::Fixture& database) {
    database.frame = [this] {
      ++frame_;
      Tal::FS::fileSystem()->pump();
    };
    read();
    Tal::FS::fileSystem()->getFilesystemMonitor()->addModificationListener(this);
  }
  ~ReadingListener() override {
    Tal::FS::fileSystem()->getFilesystemMonitor()->removeModificationListener(this);
  }
  ReadingListener(const ReadingListener&) = delete;
  ReadingListener& operator=(const ReadingListener&) = delete;

  /// The versions that were read, the first one before anything was reported.
  std::vector<int> reads;

 protected:
  void onResourceModified(const Tal::BasicStringRef& /*basePath*/, const Tal::BasicStringRef& resourceName,
                          Action /*action*/) override {
    const bool isDatabase = resourceName.find(support::kWatchedDatabase) != Tal::BasicStringRef::npos;
    if (!isDatabase || frame_ == lastFrame_) return;
    lastFrame_ = frame_;
    read();
  }

 private:
  void read() {
    std::vector<std::string> names;
    const auto root = Tal::FS::Utils::openSection(support::kWatchedDatabase, false, nullptr);
    if (root) {
      const auto fragiles = root->openSection("fragiles", false, nullptr);
      for (const auto& entry : *fragiles) names.push_back(entry->readString("filename", "", 0));
    }
    reads.push_back(support::versionOfNames(names));
  }

  int frame_ = 0;
  int lastFrame_ = 0;
};
