// The code that docs/describing-records.md shows: what stands between "[shown]" and "[/shown]" is there word
// for word.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <support/document.h>
#include <support/temporary_folder.h>

// [shown]
#include <mio/describe.h>
#include <mio/dynamic_object.h>
#include <mio/record_signal.h>

#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

/// A sprinkler that floods what is below it.
struct SprinklerDesc : mio::Object {
  std::int32_t health = 3;
  float litresPerSecond = 1.5F;
  std::string hardPoint;

  mutable mio::RecordSignal<void(mio::SetterFlags)> changed;
};
// [/shown]

namespace {

using testing::ElementsAre;

// [shown]
// The options of a combo box are computed when somebody asks, from what the record's parent offers.
tyk::VariantList hardPoints(const mio::BoundProperty& edited) {
  tyk::VariantList options{""};
  mio::Object* const parent = edited.object()->parent();
  const mio::BoundProperty offered =
      parent == nullptr ? mio::BoundProperty() : parent->property("_hardPoints");
  if (!offered.isValid()) return options;
  for (std::string& name : offered.get().castTo<std::vector<std::string>>()) options.emplace_back(name);
  return options;
}

void notify(SprinklerDesc& record, mio::SetterFlags flags) {
  record.changed(flags);
}

const mio::Registration kSprinkler(mio::describe<SprinklerDesc>("Studio::SprinklerDesc")
                                       .annotation(mio::ChangeNotification("_notify"))
                                       .method("_notify", &notify)
                                       .property("Health", &SprinklerDesc::health, mio::Precision(0))
                                       .property("Litres per second", &SprinklerDesc::litresPerSecond,
                                                 mio::Precision(1))
                                       .property("Hard point", &SprinklerDesc::hardPoint,
                                                 mio::ComboBox(hardPoints)));
// [/shown]

// [shown]
void draw(mio::Object& object, std::ostream& panel) {
  for (const mio::BoundProperty& property : object.properties()) {
    panel << property.property()->name() << ": " << property.get().text();
    for (const tyk::Variant& option : property.options()) panel << " [" << option.text() << ']';
    panel << '\n';
  }
}
// [/shown]

TEST(TheDocumentedRecord, IsDrawnByAPanelThatDoesNotKnowIt) {
  const std::vector<std::string> hardPointNames{"HP_ceiling", "HP_wall"};
  std::ostringstream panel;
  // [shown]
  mio::DynamicObject model;  // a node of the editor's tree
  model.addProperty("_hardPoints", tyk::Variant::Type::list, [&] { return tyk::Variant(hardPointNames); });
  model.addProperty("Destructible Type", tyk::Variant::Type::signedInteger, [] { return tyk::Variant(1); });

  SprinklerDesc sprinkler;
  sprinkler.setParent(&model);
  draw(sprinkler, panel);
  // [/shown]
  const std::string page = support::readFile(std::string(DOCS_FOLDER) + "/describing-records.md");
  EXPECT_THAT(support::blocksBetween(page, "```text", "```"), ElementsAre(panel.str()));
  EXPECT_EQ(model.property("Destructible Type").get(), tyk::Variant(1));
}

TEST(TheDocumentedRecord, TellsOfWritesAndRefusesWhatDoesNotFit) {
  // [shown]
  SprinklerDesc sprinkler;
  int changes = 0;
  const ks::Connection connection = sprinkler.changed.connect([&](mio::SetterFlags) { ++changes; });
  sprinkler.property("Litres per second").set("2.5");
  EXPECT_EQ(sprinkler.litresPerSecond, 2.5F);
  EXPECT_EQ(changes, 1);
  EXPECT_THROW(sprinkler.property("Health").set("a lot"), tyk::BadCast);
  EXPECT_EQ(sprinkler.health, 3);
  EXPECT_EQ(changes, 1);
  // [/shown]
}

TEST(ThePageOnRecords, ShowsExactlyTheCodeThatIsTestedHere) {
  const auto tested = support::blocksBetween(
      support::readFile(std::string(SOURCE_FOLDER) + "/tests/docs/describing_records_test.cpp"), "// [shown]",
      "// [/shown]");
  EXPECT_EQ(tested.size(), 5U);
  const std::string page = support::readFile(std::string(DOCS_FOLDER) + "/describing-records.md");
  EXPECT_EQ(support::blocksBetween(page, "```cpp", "```"), tested);
}

}  // namespace
