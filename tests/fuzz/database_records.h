#pragma once

#include <resources/data_section.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// The records of a database as text: table and model name to everything that the record says. A record that
/// says the same has the same text.
using Records = std::map<std::string, std::string>;

/// How a record says that it has no achievement tag: "none" is not written.
enum class Tag { asItIs, asWritten };

/// Those that the helper's class-wide tables hold.
Records recordsOfTables(Tag tag = Tag::asItIs);

/// Those that a database says, read in the plainest way.
Records recordsOfDatabase(const Tal::DataSection& root);

/// The tables' records of one model, or those of all others.
Records recordsOfModel(const Records& records, std::string_view model);
Records recordsOfOthers(const Records& records, std::string_view model);

/// One line a record, for comparison.
std::string textOf(const Records& records);

/// The bytes of every entry of a database that is not the model's, in order; those of "trees" are all.
std::vector<std::string> otherEntries(const std::string& bytes, const Tal::DataSection& root,
                                      std::string_view model);

}  // namespace fuzz
