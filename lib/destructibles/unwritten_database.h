#pragma once

#include <destructibles/database_format.h>
#include <resources/data_section_cache.h>

namespace Tal {

/// Discards the database's document at the end of a scope in which it was edited but not written, so that
/// another save or load does not see those edits. Main thread only; nothing here is exported by the module's
/// shared library.
class UnwrittenDatabase {
 public:
  UnwrittenDatabase() = default;
  ~UnwrittenDatabase() {
    if (!isEdited_) return;
    try {
      DataSectionCache::discard(database_format::kDatabaseFile);
    } catch (...) {  // There is nothing left that could be done.
    }
  }
  UnwrittenDatabase(const UnwrittenDatabase&) = delete;
  UnwrittenDatabase& operator=(const UnwrittenDatabase&) = delete;

  void setEdited(bool isEdited) noexcept { isEdited_ = isEdited; }

 private:
  bool isEdited_ = false;
};

}  // namespace Tal
