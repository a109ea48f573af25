#include <destructibles/meta_fixture.h>

#include <map>

namespace Tal {
namespace {

using mio::SetterFlags;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Module = KsDestructibleModuleDesc;
using Fragile = KsDestructibleFragileDesc;
using FallingAtom = KsDestructibleFallingAtomDesc;

/// A panel that knows no record: it finds what to draw by the type of an object.
class Panel {
 public:
  explicit Panel(mio::Object& object) : object_(&object), meta_(mio::MetaObject::find(typeid(object))) {}

  /// One line for each property: its name, its value, and what is chosen from.
  Strings draw() const {
    Strings lines;
    for (const mio::Property& property : meta_->properties()) {
      const mio::BoundProperty bound(*object_, property);
      std::string line = property.name() + " = " + bound.get().text();
      if (property.annotations().find<mio::ComboBox>() != nullptr)
        line += " of " + tyk::Variant(bound.options()).text();
      lines.push_back(std::move(line));
    }
    return lines;
  }

  void enter(const std::string& name, const tyk::Variant& value,
             SetterFlags flags = SetterFlags::none) const {
    mio::BoundProperty(*object_, *meta_->property(name)).set(value, flags);
  }

 private:
  mio::Object* object_;
  const mio::MetaObject* meta_;
};

/// Writes down what a record's signals tell.
template <class Record>
class Listener {
 public:
  explicit Listener(const Record& record)
      : changed_(record.changed.connect([this](SetterFlags flags) {
          told.push_back("changed " + std::to_string(static_cast<unsigned>(flags)));
        })) {
    if constexpr (requires { record.hardPointChanged; })
      hardPointChanged_ = record.hardPointChanged.connect([this] { told.emplace_back("hard point"); });
  }

  Strings told;

 private:
  ks::Connection changed_;
  ks::Connection hardPointChanged_;
};

class APropertyPanel : public EffectsTest {};

TEST_F(APropertyPanel, DrawsARecordThatItDoesNotKnow) {
  writeEffects("<root><fragiles><small_boom/></fragiles></root>");
  EditedRecord<Fragile> edited(DT_FRAGILE, {"HP_1"});
  edited.record.effectHP = "HP_1";
  EXPECT_THAT(Panel(edited.record).draw(),
              ElementsAre("Health = 5", "Effect hardpoint = HP_1 of [, HP_1]",
                          "Hit effect =  of [, none, small_boom]", "Effect = none of [, none, small_boom]",
                          "Lifetime effect = none of [, none, small_boom]",
                          "Decay effect = none of [, none, small_boom]"));
}

TEST_F(APropertyPanel, TellsOfEveryWriteOnceWithItsFlags) {
  EditedRecord<Module> edited(DT_STRUCTURE, {"HP_1"});
  const Panel panel(edited.record);
  Listener listener(edited.record);
  panel.enter("Health", "42");
  EXPECT_EQ(edited.record.health, 42);
  EXPECT_THAT(listener.told, ElementsAre("changed 0"));
  listener.told.clear();
  panel.enter("Hit effect", "boom", SetterFlags::interactive);
  EXPECT_EQ(edited.record.hitEffect, "boom");
  EXPECT_THAT(listener.told, ElementsAre("changed 1"));
  listener.told.clear();
  panel.enter("Effect hardpoint", "HP_1");
  EXPECT_EQ(edited.record.effectHP, "HP_1");
  EXPECT_THAT(listener.told, ElementsAre("changed 0", "hard point"));
}

TEST_F(APropertyPanel, TellsOfEveryPropertyOfEveryRecord) {
  const auto expectAll = [](auto& edited) {
    for (const mio::BoundProperty& property : edited.record.properties()) {
      Listener listener(edited.record);
      property.set("7", SetterFlags::interactive);
      const bool isHardPoint = property.property()->name() == "Effect hardpoint";
      EXPECT_EQ(listener.told, isHardPoint ? Strings({"changed 1", "hard point"}) : Strings({"changed 1"}))
          << property.property()->name();
    }
  };
  EditedRecord<Module> module(DT_STRUCTURE, {});
  EditedRecord<Fragile> fragile(DT_FRAGILE, {});
  EditedRecord<FallingAtom> atom(DT_FALLING_ATOMS, {});
  expectAll(module);
  expectAll(fragile);
  expectAll(atom);
}

TEST_F(APropertyPanel, RefusesWhatCannotBeAHealthAndLeavesTheRecordAsItWas) {
  EditedRecord<Fragile> edited(DT_FRAGILE, {});
  const Panel panel(edited.record);
  const Listener listener(edited.record);
  std::map<std::string, tyk::Variant> refusals = {
      {"cannot convert the string \"hard\" to int32", "hard"},
      {"cannot convert the string \"12abc\" to int32", "12abc"},
      {"cannot convert the double \"3.5\" to int32", 3.5},
      {"cannot convert the integer \"99999999999\" to int32", 99999999999},
      {"cannot convert the list \"[1]\" to int32", tyk::VariantList{1}},
      {"cannot convert the empty value to int32", tyk::Variant()}};
  for (const auto& [text, value] : refusals) {
    try {
      panel.enter("Health", value);
      ADD_FAILURE() << text;
    } catch (const tyk::BadCast& error) {
      EXPECT_EQ(error.what(), text);
    }
  }
  EXPECT_EQ(edited.record.health, 5);
  EXPECT_THAT(listener.told, IsEmpty());
}

TEST_F(APropertyPanel, TakesEveryFormOfAWholeNumberForAHealth) {
  Module record;
  const Panel panel(record);
  panel.enter("Health", 12.0);
  EXPECT_EQ(record.health, 12);
  panel.enter("Health", "-1");
  EXPECT_EQ(record.health, -1);
  panel.enter("Health", 2147483647U);
  EXPECT_EQ(record.health, 2147483647);
  panel.enter("Hit effect", 5);
  EXPECT_EQ(record.hitEffect, "5") << "a text takes a number as it is written";
}

TEST_F(APropertyPanel, TellsNobodyOfACopy) {
  EditedRecord<Module> edited(DT_STRUCTURE, {});
  Listener listener(edited.record);
  Module copy = edited.record;
  EXPECT_EQ(copy.parent(), nullptr);
  Panel(copy).enter("Health", 1);
  EXPECT_THAT(listener.told, IsEmpty());
  EXPECT_EQ(edited.record.health, 80);
  edited.record = copy;
  EXPECT_EQ(edited.record.health, 1);
  EXPECT_EQ(edited.record.parent(), &edited.parent);
  Panel(edited.record).enter("Health", 2);
  EXPECT_THAT(listener.told, ElementsAre("changed 0")) << "assignment left the connection";
}

TEST_F(APropertyPanel, MayLoseItsRecordInTheMiddleOfANotification) {
  auto edited = std::make_unique<EditedRecord<Module>>(DT_STRUCTURE, Strings{"HP_1"});
  int hardPoints = 0;
  const ks::Connection gone = edited->record.changed.connect([&](SetterFlags) { edited.reset(); });
  const ks::Connection late = edited->record.hardPointChanged.connect([&] { ++hardPoints; });
  Panel(edited->record).enter("Effect hardpoint", "HP_1");
  EXPECT_EQ(edited, nullptr);
  EXPECT_EQ(hardPoints, 0);
  EXPECT_FALSE(gone.connected());
}

TEST_F(APropertyPanel, MayLoseItsRecordWhenToldOfTheHardPoint) {
  auto edited = std::make_unique<EditedRecord<Fragile>>(DT_FRAGILE, Strings{"HP_1"});
  int late = 0;
  const ks::Connection first = edited->record.hardPointChanged.connect([&] { edited.reset(); });
  const ks::Connection second = edited->record.hardPointChanged.connect([&] { ++late; });
  Panel(edited->record).enter("Effect hardpoint", "HP_1");
  EXPECT_EQ(edited, nullptr);
  EXPECT_EQ(late, 0);
}

// --- The notification methods ---

template <class Record>
class TheNotificationMethods : public ::testing::Test {};

using Records = ::testing::Types<Module, Fragile, FallingAtom>;
TYPED_TEST_SUITE(TheNotificationMethods, Records);

TYPED_TEST(TheNotificationMethods, RaiseTheirSignal) {
  TypeParam record;
  Listener listener(record);
  const mio::MetaObject& meta = *record.metaObject();
  meta.method("_notify")->invoke(record, {}, SetterFlags::interactive);
  EXPECT_THAT(listener.told, ElementsAre("changed 1"));
  listener.told.clear();
  if (const mio::Method* const hardPoint = meta.method("_notifyHardPointChanged")) {
    hardPoint->invoke(record, {});
    EXPECT_THAT(listener.told, ElementsAre("hard point"));
  }
}

TYPED_TEST(TheNotificationMethods, AcceptNoArguments) {
  TypeParam record;
  const Listener listener(record);
  for (const mio::Method& method : record.metaObject()->methods()) {
    for (const std::size_t count : {1U, 2U, 5U}) {
      try {
        method.invoke(record, std::vector<tyk::Variant>(count));
        ADD_FAILURE() << method.name();
      } catch (const mio::GenericFunctionError& error) {
        EXPECT_EQ(error.what(), "function accepts 0 args, but " + std::to_string(count) + " were passed");
      }
    }
  }
  EXPECT_THAT(listener.told, IsEmpty());
}

TYPED_TEST(TheNotificationMethods, RefuseAnObjectThatIsNotOfTheRecordsType) {
  mio::Object stranger;
  TypeParam record;
  for (const mio::Method& method : record.metaObject()->methods())
    EXPECT_THROW(method.invoke(stranger, {}), tyk::BadCast) << method.name();
}

TEST(TheNotificationMethodsOfOneRecord, RefuseAnother) {
  Fragile fragile;
  try {
    mio::MetaObject::of<Module>()->method("_notify")->invoke(fragile, {});
    FAIL() << "it ran";
  } catch (const tyk::BadCast& error) {
    EXPECT_STREQ(error.what(),
                 "cannot convert the Tal::KsDestructibleFragileDesc to Tal::KsDestructibleModuleDesc");
  }
}

}  // namespace
}  // namespace Tal
