#pragma once

#include <destructibles/database_format.h>
#include <resources/data_section_cache.h>

namespace Tal {

/// Drops the database's document at the end of a scope in which it was edited and not written. Whoever saves
/// holds the edits elsewhere; the document must not bring them into another save or a load. Main thread only;
/// nothing here is exported by the module's shared library.
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
