#pragma once

#include <authoring/description.h>
#include <authoring/record_fields.h>
#include <core/string_ref.h>
#include <destructibles/ks_destructibles_helper.h>

#include <string>
#include <vector>

namespace Tal::authoring {

/// A value of an entry that is probably not meant.
struct ValueWarning {
  enum class Code {
    unknownHealth,      ///< a health of -1, which stands for "could not be estimated"
    noHealth,           ///< any other health that is not above 0
    noScale,            ///< an effect scale that is not above 0
    unknownEffect,      ///< an effect that the effects file lacks
    foreignEffect,      ///< an effect that the effects file has for models of other categories alone
    uncheckedEffect,    ///< an effect of which that cannot be told, since the effects file cannot be read
    unknownHardPoint,   ///< a hard point that the model lacks
    unknownMaterial,    ///< a material that the model lacks
    malformedPhysics,   ///< physics parameters that are not seven numbers
    tagThatIsNotStored  ///< an achievement tag of "none"
  };
  Code code;
  std::string module;  ///< the module whose value it is; empty when it is the model's own
  std::string key;     ///< of the value, as in the database
  std::string text;    ///< one line for a person, which begins with the key
};

/// "unknown-health", "no-health", "no-scale", "unknown-effect", "foreign-effect", "unchecked-effect",
/// "unknown-hard-point", "unknown-material", "malformed-physics" or "tag-not-stored".
BasicStringRef valueWarningName(ValueWarning::Code code) noexcept;

/// What is questionable about the fields of one record of a helper's model, in their order; the record is
/// that of a category, for DT_STRUCTURE a module or the structure's own. Effects are checked against all that
/// the effects file lists for the category, not only those that a panel offers for the field. "" and "none"
/// never cause a warning. Nothing does if the file is missing or lists no effects. If the file cannot be
/// read, the first effect gets a warning that says so. Main thread only.
std::vector<ValueWarning> valueWarningsOf(KsDestructiblesHelper& helper, KsDestructibleType category,
                                          const std::vector<NamedField>& fields);

/// The same of all records of a description: the model's own before the modules.
std::vector<ValueWarning> valueWarningsOf(KsDestructiblesHelper& helper, const Description& description);

/// What a description names and a helper's model lacks, a line each for a person: modules, materials of
/// states, and hard points and materials in the records.
std::vector<std::string> namesLacking(KsDestructiblesHelper& helper, const Description& description);

/// What is questionable without a model: hard points and materials are not compared.
std::vector<ValueWarning> valueWarningsOf(const Description& description);

}  // namespace Tal::authoring
