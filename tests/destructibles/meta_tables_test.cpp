#include <destructibles/meta_fixture.h>

#include <functional>
#include <vector>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Type = tyk::Variant::Type;

using Module = KsDestructibleModuleDesc;
using Fragile = KsDestructibleFragileDesc;
using FallingAtom = KsDestructibleFallingAtomDesc;

/// What a property's row says beside its name: "combo" lists are told apart by the options that they offer.
enum class Widget { number, hardPoints, effects };

template <class Record>
struct Row {
  const char* name;
  std::variant<std::int32_t Record::*, std::string Record::*> field;
  Widget widget;
  const char* key = "";
};

const std::vector<Row<Module>> kModuleRows = {
    {"Health", &Module::health, Widget::number},
    {"Effect hardpoint", &Module::effectHP, Widget::hardPoints},
    {"Hit effect", &Module::hitEffect, Widget::effects, ""},
    {"Ram effect", &Module::ramEffect, Widget::effects, ""},
    {"Decay effect", &Module::decayEffect, Widget::effects, ""},
};

const std::vector<Row<Fragile>> kFragileRows = {
    {"Health", &Fragile::health, Widget::number},
    {"Effect hardpoint", &Fragile::effectHP, Widget::hardPoints},
    {"Hit effect", &Fragile::hitEffect, Widget::effects, ""},
    {"Effect", &Fragile::effect, Widget::effects, ""},
    {"Lifetime effect", &Fragile::lifetimeEffect, Widget::effects, ""},
    {"Decay effect", &Fragile::decayEffect, Widget::effects, ""},
};

const std::vector<Row<FallingAtom>> kFallingAtomRows = {
    {"Health", &FallingAtom::health, Widget::number},
    {"Fracture effect", &FallingAtom::fractureEffect, Widget::effects, "fracture"},
    {"Touchdown effect", &FallingAtom::touchdownEffect, Widget::effects, "touchdown"},
    {"Touchdown break effect", &FallingAtom::touchdownBreakEffect, Widget::effects, "touchdown_break"},
    {"Lifetime effect", &FallingAtom::lifetimeEffect, Widget::effects, "lifetime"},
};

class TheMetaObject : public EffectsTest {
 protected:
  TheMetaObject() {
    std::string text;
    for (const std::string& name : effects()) text += "<" + name + "/>";
    writeEffects("<r><structures>" + text + "</structures></r>");
  }

  /// For each key one effect that holds it, and others that nearly do.
  static const Strings& effects() {
    static const Strings names{"a_lifetime",     "lifetim",     "ifetime",  "b_touchdown_break",
                               "touchdown_brea", "c_touchdown", "touchdow", "ouchdown",
                               "d_fracture",     "fractur",     "racture"};
    return names;
  }

  /// What the effects of the file give for a key.
  static Strings effectsWith(const std::string& key) {
    Strings names{"", "none"};
    std::copy_if(effects().begin(), effects().end(), std::back_inserter(names),
                 [&key](const std::string& name) { return name.find(key) != std::string::npos; });
    return names;
  }

  template <class Record>
  static void expectField(const Row<Record>& row) {
    EditedRecord<Record> edited(DT_STRUCTURE, {});
    std::visit(
        [&](auto field) {
          const tyk::Variant before(edited.record.*field);
          EXPECT_EQ(edited.record.property(row.name).get(), before);
          edited.record.property(row.name).set("17");
          EXPECT_EQ(tyk::Variant(edited.record.*field).castTo<std::string>(), "17");
          // The write reached this field alone.
          edited.record.*field = Record().*field;
          for (const mio::BoundProperty& each : edited.record.properties()) {
            Record fresh;
            EXPECT_EQ(each.get(), fresh.property(each.property()->name()).get()) << row.name;
          }
        },
        row.field);
  }

  template <class Record>
  static void expectWidget(const Row<Record>& row, const mio::Property& property) {
    const mio::Annotations& annotations = property.annotations();
    const auto* const precision = annotations.find<mio::Precision>();
    const auto* const autocomplete = annotations.find<mio::Autocomplete>();
    const auto* const onChange = annotations.find<mio::OnChange>();
    EXPECT_EQ(precision != nullptr, row.widget == Widget::number);
    EXPECT_EQ(autocomplete != nullptr, row.widget == Widget::effects);
    EXPECT_EQ(onChange != nullptr, row.widget == Widget::hardPoints);
    EXPECT_EQ(annotations.find<mio::ComboBox>() != nullptr, row.widget != Widget::number);
    EXPECT_TRUE(precision == nullptr || precision->decimals == 0);
    EXPECT_TRUE(autocomplete == nullptr || autocomplete->isOn);
    EXPECT_TRUE(onChange == nullptr || onChange->method() == "_notifyHardPointChanged");
    EXPECT_EQ(annotations.all().size(), row.widget == Widget::number ? 1U : 2U);
    EXPECT_EQ(property.type(), row.widget == Widget::number ? Type::signedInteger : Type::string);
    EXPECT_TRUE(property.isWritable());
    EditedRecord<Record> edited(DT_STRUCTURE, {"HP_b", "HP_a"});
    if (row.widget == Widget::hardPoints) {
      EXPECT_THAT(edited.options(row.name), ElementsAre("", "HP_b", "HP_a"));
    } else if (row.widget == Widget::effects) {
      EXPECT_EQ(edited.options(row.name), effectsWith(row.key));
    }
  }

  template <class Record>
  static void expectRows(const std::vector<Row<Record>>& rows) {
    const mio::MetaObject* const meta = mio::MetaObject::of<Record>();
    ASSERT_NE(meta, nullptr);
    ASSERT_EQ(meta->properties().size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      SCOPED_TRACE(rows[i].name);
      EXPECT_EQ(meta->properties()[i].name(), rows[i].name);
      expectWidget(rows[i], meta->properties()[i]);
      expectField(rows[i]);
    }
  }

  static Strings methodsOf(const mio::MetaObject& meta) {
    Strings names;
    for (const mio::Method& method : meta.methods()) names.push_back(method.name());
    return names;
  }
};

TEST_F(TheMetaObject, OfAModuleHasThePropertiesOfItsTable) {
  expectRows(kModuleRows);
}

TEST_F(TheMetaObject, OfAFragileHasThePropertiesOfItsTable) {
  expectRows(kFragileRows);
}

TEST_F(TheMetaObject, OfAFallingAtomHasThePropertiesOfItsTable) {
  expectRows(kFallingAtomRows);
}

TEST_F(TheMetaObject, IsRegisteredUnderTheNameOfTheRecord) {
  const auto* const module = mio::MetaObject::find("Tal::KsDestructibleModuleDesc");
  const auto* const fragile = mio::MetaObject::find("Tal::KsDestructibleFragileDesc");
  const auto* const atom = mio::MetaObject::find("Tal::KsDestructibleFallingAtomDesc");
  ASSERT_TRUE(module && fragile && atom);
  EXPECT_EQ(module->typeName(), "Tal::KsDestructibleModuleDesc");
  EXPECT_EQ(module, mio::MetaObject::of<Module>());
  EXPECT_EQ(fragile, mio::MetaObject::of<Fragile>());
  EXPECT_EQ(atom, mio::MetaObject::of<FallingAtom>());
  EXPECT_EQ(Module().metaObject(), module);
  EXPECT_EQ(Fragile().metaObject(), fragile);
  EXPECT_EQ(FallingAtom().metaObject(), atom);
}

TEST_F(TheMetaObject, TellsTheClassOfChangesThroughNotify) {
  for (const auto* const meta :
       {mio::MetaObject::of<Module>(), mio::MetaObject::of<Fragile>(), mio::MetaObject::of<FallingAtom>()}) {
    ASSERT_EQ(meta->annotations().all().size(), 1U);
    EXPECT_EQ(meta->annotations().find<mio::ChangeNotification>()->method(), "_notify");
    for (const mio::Method& method : meta->methods()) EXPECT_EQ(method.argumentCount(), 0U);
  }
  EXPECT_THAT(methodsOf(*mio::MetaObject::of<Module>()), ElementsAre("_notify", "_notifyHardPointChanged"));
  EXPECT_THAT(methodsOf(*mio::MetaObject::of<Fragile>()), ElementsAre("_notify", "_notifyHardPointChanged"));
  EXPECT_THAT(methodsOf(*mio::MetaObject::of<FallingAtom>()), ElementsAre("_notify"));
}

TEST_F(TheMetaObject, NeverShowsTheEffectScaleNorTheOtherHiddenFields) {
  for (const auto* const meta :
       {mio::MetaObject::of<Module>(), mio::MetaObject::of<Fragile>(), mio::MetaObject::of<FallingAtom>()}) {
    for (const char* const hidden : {"effectScale", "Effect scale", "Effect Scale", "physicParams",
                                     "achievementTag", "Achievement tag", "matName"})
      EXPECT_EQ(meta->property(hidden), nullptr) << hidden;
    for (const mio::Property& property : meta->properties()) EXPECT_NE(property.type(), Type::singleFloat);
  }
}

}  // namespace
}  // namespace Tal
