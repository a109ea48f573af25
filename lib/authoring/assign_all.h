#pragma once

#include <authoring/assignment.h>
#include <authoring/outcome.h>
#include <authoring/record_table.h>
#include <core/white_space.h>
#include <mio/property.h>

#include <string>
#include <utility>
#include <vector>

namespace Tal::authoring {

/// The value of an assignment as the database keeps it, without surrounding white space; a warning says when
/// there was some. The outcome is refused when XML cannot hold the value.
Outcome storedValue(const Assignment& assignment, std::string& value);

/// Puts text into a number or string; the reason when it cannot be one, else empty.
std::string parseValue(const std::string& text, std::int32_t& value);
std::string parseValue(const std::string& text, float& value);
std::string parseValue(const std::string& text, std::string& value);

/// Replaces every assignment to a display name, such as "Hit effect", by one to its key, with the value that
/// the record has when it tells of the change. Refused when a property refuses its value; then the list is
/// not to be used.
template <class Record>
Outcome replaceDisplayNames(const Record& record, std::vector<Assignment>& assignments);

/// The refusal of a key that a record of this kind ("a fragile") does not have.
std::string unknownKey(const std::string& key, BasicStringRef recordKind,
                       const std::vector<std::string>& keys);

/// Refuses a key that is assigned twice; else done.
Outcome checkKeysAreDistinct(const std::vector<Assignment>& assignments);

/// The assignments, by their keys, that make one record of another.
template <class Record>
std::vector<Assignment> differences(const Record& before, const Record& after) {
  std::vector<Assignment> assignments;
  for (const RecordField<Record>& field : recordFields<Record>()) {
    if (!isSameField(field, before, after))
      assignments.push_back({std::string(field.key), textOf(valueOf(after, field))});
  }
  return assignments;
}

/// The field that a property shows, with its present value: the one that changes with the property.
template <class Record>
Assignment fieldOfProperty(const Record& record, BasicStringRef displayName) {
  for (const char* const value : {"1", "2"}) {
    Record probe = record;
    probe.property(displayName).set(value);
    const std::vector<Assignment> changed = differences(probe, record);
    if (!changed.empty()) return changed.front();
  }
  return {};
}

template <class Record>
Outcome replaceDisplayNames(const Record& record, std::vector<Assignment>& assignments) {
  for (Assignment& assignment : assignments) {
    Record edited = record;
    const mio::BoundProperty property = edited.property(assignment.key);
    if (!property.isValid()) continue;
    Assignment byKey = fieldOfProperty(record, assignment.key);
    const ks::Connection told = edited.changed.connect([&](mio::SetterFlags) {
      for (const Assignment& changed : differences(record, edited)) byKey = changed;
    });
    try {
      property.set(trimmed(assignment.value));
    } catch (const tyk::BadCast& error) {
      return refused(assignment.key + ": " + error.what() + "; give a value that fits");
    }
    assignment = byKey;
  }
  return {};
}

/// Makes every assignment on `record`, or refuses: then `record` is not to be used. Says nothing of whether
/// the names among the values exist.
template <class Record>
Outcome assignAll(Record& record, BasicStringRef recordKind, const std::vector<Assignment>& assignments) {
  Outcome outcome = checkKeysAreDistinct(assignments);
  if (!outcome) return outcome;
  for (const Assignment& assignment : assignments) {
    const RecordField<Record>* named = nullptr;
    for (const RecordField<Record>& field : recordFields<Record>()) {
      if (field.key == assignment.key) named = &field;
    }
    if (named == nullptr) return refused(unknownKey(assignment.key, recordKind, settableNames<Record>()));
    std::string value;
    Outcome stored = storedValue(assignment, value);
    if (!stored) return stored;
    for (std::string& warning : stored.warnings) outcome.warnings.push_back(std::move(warning));
    const std::string fault =
        std::visit([&](auto member) { return parseValue(value, record.*member); }, named->member);
    if (!fault.empty()) return refused(assignment.key + ": " + fault);
  }
  return outcome;
}

}  // namespace Tal::authoring
