#pragma once

#include <authoring/change.h>
#include <authoring/description.h>
#include <core/result.h>
#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Tal {
class DataSection;
}

namespace Tal::authoring {

/// The database as it is in the file now; never null. A fault of the kind `missing` when no root holds it.
/// Main thread only.
Result<SmartPointer<DataSection>> openDatabase();

/// Lets `edit` change the database as it is in the file now, and writes it with one replacement of the file.
/// Fails if the file cannot be read, if `edit` fails, or if the file cannot be written. File and document are
/// then unchanged.
Result<void> editDatabase(const std::function<Result<void>(const SmartPointer<DataSection>& database)>& edit);

/// The file of an opened database, which has no unsaved edits.
FileBefore fileBefore(const DataSection& database);

/// The model that an entry describes; empty when it names none.
std::string modelOf(const DataSection& entry);

/// What decides the category of a model, gathered from all its entries.
struct CategoryMarks {
  bool hasModules = false;
  bool isFragile = false;
  bool isFallingAtom = false;

  /// Notes one more entry of the model, from a section of a category (see
  /// database_format::categoryOfSection).
  void note(KsDestructibleType sectionCategory, DataSection& entry);

  /// The category that a helper gives to the model: none to a variant whatever it is marked as.
  KsDestructibleType category(BasicStringRef modelName) const noexcept;
};

/// Where an entry of a model stands.
struct EntryPlace {
  std::string section;  ///< the tag
  bool isFirst;         ///< of the model's entries in that section
  bool hasStates;       ///< whether it holds states, which a load does not take of every entry
};

/// What the file holds of one model.
struct FileEntries {
  /// What a load takes from the entries, also the records of other categories than the model's: the last
  /// entry counts.
  Description description;
  std::vector<EntryPlace> entries;  ///< in the order of the file
};

/// What a load takes of one entry from a section of a category.
Description valuesOf(KsDestructibleType sectionCategory, DataSection& entry);

/// Reads what an opened database holds of a model.
FileEntries entriesIn(const DataSection& database, const std::string& modelName);

/// Reads what the file holds of a model.
Result<FileEntries> readEntries(const std::string& modelName);

}  // namespace Tal::authoring
