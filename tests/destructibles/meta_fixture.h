#pragma once

#include <destructibles/fixture.h>
#include <mio/dynamic_object.h>
#include <mio/meta_object.h>

#include <memory>
#include <optional>
#include <string>

namespace Tal {

/// A record in an editor's tree: its parent offers the category and the hard points of the model.
template <class Record>
struct EditedRecord {
  EditedRecord(int category, Strings hardPoints) {
    parent.addProperty("Destructible Type", tyk::Variant::Type::signedInteger,
                       [category] { return tyk::Variant(category); });
    parent.addProperty("_hardPoints", tyk::Variant::Type::list,
                       [hardPoints = std::move(hardPoints)] { return tyk::Variant(hardPoints); });
    record.setParent(&parent);
  }

  Strings options(const std::string& property) {
    Strings texts;
    for (const tyk::Variant& option : record.property(property).options())
      texts.push_back(option.castTo<std::string>());
    return texts;
  }

  mio::DynamicObject parent;
  Record record;
};

/// Reads and writes effect files.
class EffectsTest : public DestructiblesTest {
 protected:
  void writeEffects(std::string_view text) const { root_.write("scripts/destructibles_effects.xml", text); }
};

}  // namespace Tal
