#include <destructibles/fixture.h>

#include <map>

namespace Tal {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Pair;

class TheCallStack : public DestructiblesTest {
 protected:
  /// The pushes and pops during `work`; every push has to name an operation of the helper and its source.
  Journal during(const std::function<void()>& work) {
    Journal journal;
    {
      const TrackRecorder recorder(&journal);
      work();
      for (const StackTracker::Entry& entry : recorder.pushed()) {
        const std::string name = entry.function;
        constexpr std::string_view kClass = "Tal::KsDestructiblesHelper::";
        EXPECT_EQ(name.substr(0, kClass.size()), kClass);
        EXPECT_STREQ(entry.file, "lib/destructibles/ks_destructibles_helper") << name;
        EXPECT_NE(entry.line, 0U) << name;
        const std::string operation = name.substr(kClass.size());
        const auto [known, isNew] = lines_.emplace(operation, entry.line);
        EXPECT_EQ(known->second, entry.line) << operation << " has one line";
      }
    }
    EXPECT_TRUE(StackTracker::entries().empty());
    return journal;
  }

  /// The lines of the operations that were pushed so far.
  std::map<std::string, unsigned> lines_;
};

// --- Lifecycle ---

TEST_F(TheCallStack, ShowsTheConstructionAndDestructionOfAnEmptyHelper) {
  EXPECT_THAT(during([] { const KsDestructiblesHelper helper; }),
              ElementsAre("> KsDestructiblesHelper", "< KsDestructiblesHelper",  //
                          "> ~KsDestructiblesHelper", "< ~KsDestructiblesHelper"));
  EXPECT_THAT(lines_, ElementsAre(Pair("KsDestructiblesHelper", 166U), Pair("~KsDestructiblesHelper", 327U)));
}

TEST_F(TheCallStack, ShowsTheConstructionOfAHelperOfNoCategory) {
  EXPECT_THAT(during([] {
                const OpenModel open({{{"nwall", 73}}, {"nwall"}, {"HP_1"}}, "m");
              }),
              ElementsAre("> KsDestructiblesHelper",       //
                          "> loadConfig", "< loadConfig",  //
                          "> setDestructibleState", "> loadConfig", "< loadConfig", "< setDestructibleState",
                          "< KsDestructiblesHelper",  //
                          "> ~KsDestructiblesHelper", "< ~KsDestructiblesHelper"));
}

TEST_F(TheCallStack, ShowsTheConstructionOfAStructureWithItsFiller) {
  writeDatabase("<r><structures><entry><filename>m</filename><modules/></entry></structures></r>");
  EXPECT_THAT(
      during([] {
        const OpenModel open({{{"wall", 73}}}, "m");
      }),
      ElementsAre("> KsDestructiblesHelper",                                                           //
                  "> loadConfig", "< loadConfig",                                                      //
                  "> setMissingModules",                                                               //
                  "> calculateDestructibleHealth",                                                     //
                  "> getMaterialsForState", "> loadConfig", "< loadConfig", "< getMaterialsForState",  //
                  "< calculateDestructibleHealth",                                                     //
                  "> isMaterialKindUndamaged", "> isStaticMaterialName", "< isStaticMaterialName",
                  "< isMaterialKindUndamaged",  //
                  "< setMissingModules",        //
                  "> setDestructibleState", "> loadConfig", "< loadConfig", "< setDestructibleState",
                  "< KsDestructiblesHelper",  //
                  "> ~KsDestructiblesHelper", "< ~KsDestructiblesHelper"));
}

TEST_F(TheCallStack, ShowsTheConstructionOfAFragileAndAFallingAtomWithTheirFillers) {
  writeDatabase(R"(<r><fragiles><entry><filename>f</filename></entry></fragiles>
    <fallingAtoms><entry><filename>a</filename></entry></fallingAtoms></r>)");
  EXPECT_THAT(during([] { const OpenModel open({}, "f"); }),
              IsSupersetOf({"> setMissingFragile", "< setMissingFragile"}));
  EXPECT_THAT(during([] { const OpenModel open({}, "a"); }),
              IsSupersetOf({"> setMissingFallingAtom", "< setMissingFallingAtom"}));
}

TEST_F(TheCallStack, ShowsADetachOnBothPaths) {
  OpenModel open({}, "m");
  EXPECT_THAT(during([&] { open->detachSuperModel(open.model.get()); }),
              ElementsAre("> detachSuperModel", "< detachSuperModel"));
  EXPECT_THAT(during([&] { open->detachSuperModel(open.model.get()); }),
              ElementsAre("> detachSuperModel", "< detachSuperModel"));
  EXPECT_EQ(lines_.at("detachSuperModel"), 145U);
}

TEST_F(TheCallStack, ShowsAResetAndTheConversionsInIt) {
  const OpenModel open({}, "m");
  EXPECT_THAT(during([&] { open->resetDescriptions(); }),
              ElementsAre("> resetDescriptions", "> setAsNonDestructible", "< setAsNonDestructible",
                          "< resetDescriptions"));
  open->setAsFallingAtoms();
  EXPECT_THAT(during([&] { open->resetDescriptions(); }),
              ElementsAre("> resetDescriptions", "> setAsNonDestructible", "< setAsNonDestructible",  //
                          "> setAsFallingAtoms", "> setMissingFallingAtom",                           //
                          "> calculateDestructibleHealth", "< calculateDestructibleHealth",
                          "< setMissingFallingAtom", "< setAsFallingAtoms", "< resetDescriptions"));
}

TEST_F(TheCallStack, ShowsAReinit) {
  std::unique_ptr<KsDestructiblesHelper> helper;
  EXPECT_THAT(during([&] { KsDestructiblesHelper::reinit(helper, nullptr, "m", nullptr, true); }),
              ElementsAre("> reinit", "> KsDestructiblesHelper", "< KsDestructiblesHelper", "< reinit"));
}

// --- The database ---

TEST_F(TheCallStack, ShowsALoadOnEveryPath) {
  KsDestructiblesHelper helper;
  const auto load = [&](bool force) { return during([&] { helper.loadConfig(force); }); };
  EXPECT_THAT(load(false), ElementsAre("> loadConfig", "< loadConfig")) << "the file is missing";
  EXPECT_THAT(load(false), ElementsAre("> loadConfig", "< loadConfig")) << "it is loaded already";
  writeDatabase(
      "<r><structures><entry><modules/><states/></entry></structures><fragiles><entry/></fragiles></r>");
  EXPECT_THAT(load(true), ElementsAre("> loadConfig", "< loadConfig"));
  EXPECT_EQ(lines_.at("loadConfig"), 356U);
}

TEST_F(TheCallStack, ShowsALoadsCallbacksWithinTheLoad) {
  writeDatabase("<r/>");
  KsDestructiblesHelper helper;
  const ks::Connection listening =
      helper.connectLoadedConfigSignal([&] { (void)helper.getDestructibleState(); });
  EXPECT_THAT(
      during([&] { helper.loadConfig(true); }),
      ElementsAre("> loadConfig", "> getDestructibleState", "< getDestructibleState", "< loadConfig"));
}

TEST_F(TheCallStack, ShowsTheSaveOfAFragile) {
  writeDatabase(R"(<r><trees/><fragiles><entry><filename>m</filename></entry></fragiles><structures/></r>)");
  const OpenModel open({}, "m");
  EXPECT_THAT(during([&] { open->saveConfig(); }),
              ElementsAre("> saveConfig",                                //
                          "> deleteDuplicate", "< deleteDuplicate",      // the root
                          "> deleteDuplicate", "< deleteDuplicate",      // its own section
                          "> deleteDuplicate", "< deleteDuplicate",      // the structures
                          "> makeFragileXmlTag", "< makeFragileXmlTag",  //
                          "> loadConfig", "< loadConfig", "< saveConfig"));
  EXPECT_EQ(lines_.at("saveConfig"), 488U);
  EXPECT_EQ(lines_.at("deleteDuplicate"), 815U);
}

TEST_F(TheCallStack, ShowsTheSaveOfANewFallingAtom) {
  writeDatabase("<r/>");
  const OpenModel open({}, "m");
  open->setAsFallingAtoms();
  EXPECT_THAT(during([&] { open->saveConfig(); }),
              ElementsAre("> saveConfig", "> deleteDuplicate", "< deleteDuplicate",  // the root
                          "> deleteDuplicate", "< deleteDuplicate",              // the section made for it
                          "> makeFallingAtomXmlTag", "< makeFallingAtomXmlTag",  //
                          "> loadConfig", "< loadConfig", "< saveConfig"));
}

TEST_F(TheCallStack, ShowsTheSaveOfAStructureStatesFirst) {
  writeDatabase("<r><structures><entry><filename>m</filename><modules/><states/></entry></structures></r>");
  const OpenModel open({}, "m");
  EXPECT_THAT(during([&] { open->saveConfig(); }),
              ElementsAre("> saveConfig", "> deleteDuplicate", "< deleteDuplicate",           //
                          "> deleteDuplicate", "< deleteDuplicate",                           //
                          "> makeStatesXmlTag", "< makeStatesXmlTag", "> makeModulesXmlTag",  //
                          "< makeModulesXmlTag", "> loadConfig", "< loadConfig", "< saveConfig"));
}

TEST_F(TheCallStack, ShowsASaveThatEndsEarly) {
  const OpenModel open({}, "m");
  EXPECT_THAT(during([&] { open->saveConfig(); }), ElementsAre("> saveConfig", "< saveConfig"))
      << "there is no file";
  writeDatabase("<r><fragiles/></r>");
  EXPECT_THAT(during([&] { open->saveConfig(); }),
              ElementsAre("> saveConfig", "> deleteDuplicate", "< deleteDuplicate", "> deleteDuplicate",
                          "< deleteDuplicate", "< saveConfig"))
      << "the model has no category";
}

TEST_F(TheCallStack, ShowsAFileChangeWithItsLoadOrWithout) {
  KsDestructiblesHelper helper;
  rs().beginFrame();
  EXPECT_THAT(during([&] { Access::onResourceModified(helper, "content/house.model"); }),
              ElementsAre("> onResourceModified", "< onResourceModified"));
  EXPECT_THAT(during([&] { Access::onResourceModified(helper, "short"); }),
              ElementsAre("> onResourceModified", "< onResourceModified"));
  EXPECT_THAT(during([&] { Access::onResourceModified(helper, kDatabase); }),
              ElementsAre("> onResourceModified", "> loadConfig", "< loadConfig", "< onResourceModified"));
  EXPECT_THAT(during([&] { Access::onResourceModified(helper, kDatabase); }),
              ElementsAre("> onResourceModified", "< onResourceModified"));
  EXPECT_EQ(lines_.at("onResourceModified"), 2048U);
}

// --- Materials ---

TEST_F(TheCallStack, ShowsTheClassesOfNames) {
  KsDestructiblesHelper helper;
  EXPECT_THAT(during([&] { (void)helper.isStaticMaterialName("stone"); }),
              ElementsAre("> isStaticMaterialName", "< isStaticMaterialName"));
  EXPECT_THAT(during([&] { (void)helper.isStaticMaterialName(""); }),
              ElementsAre("> isStaticMaterialName", "< isStaticMaterialName"));
  EXPECT_THAT(during([&] { (void)helper.isDestroyedMaterialName("d"); }),
              ElementsAre("> isDestroyedMaterialName", "< isDestroyedMaterialName"));
  EXPECT_THAT(during([&] { (void)helper.isDestroyedMaterialName(""); }),
              ElementsAre("> isDestroyedMaterialName", "< isDestroyedMaterialName"));
  EXPECT_THAT(during([&] { (void)helper.getMaterialNumericID("a7"); }),
              ElementsAre("> getMaterialNumericID", "< getMaterialNumericID"));
  EXPECT_THAT(during([&] { (void)helper.getMaterialNumericID("a"); }),
              ElementsAre("> getMaterialNumericID", "< getMaterialNumericID"));
  EXPECT_EQ(lines_.at("isStaticMaterialName"), 1828U);
  EXPECT_EQ(lines_.at("isDestroyedMaterialName"), 1835U);
  EXPECT_EQ(lines_.at("getMaterialNumericID"), 1867U);
}

TEST_F(TheCallStack, ShowsTheDestroyedTestWithTheNameTestsThatItNeeds) {
  const OpenModel open({{{"wall", 90}, {"plain", 0}}}, "m");
  const auto test = [&](const char* name) {
    return during([&] { (void)open->isMaterialKindDestroyed(name); });
  };
  const auto withoutName = {"> isMaterialKindDestroyed", "> isStaticMaterialName", "< isStaticMaterialName",
                            "< isMaterialKindDestroyed"};
  const auto withName = {"> isMaterialKindDestroyed", "> isStaticMaterialName",
                         "< isStaticMaterialName",    "> isDestroyedMaterialName",
                         "< isDestroyedMaterialName", "< isMaterialKindDestroyed"};
  EXPECT_THAT(test("stone"), ElementsAreArray(withoutName));
  EXPECT_THAT(test("wall"), ElementsAreArray(withoutName));
  EXPECT_THAT(test("plain"), ElementsAreArray(withName));
  EXPECT_THAT(test("unknown"), ElementsAreArray(withName));
  EXPECT_EQ(lines_.at("isMaterialKindDestroyed"), 1806U);
}

TEST_F(TheCallStack, ShowsTheUndamagedTestWithTheStaticTestOnly) {
  const OpenModel open({{{"wall", 73}, {"plain", 0}}}, "m");
  for (const char* name : {"stone", "wall", "plain", "unknown"}) {
    EXPECT_THAT(during([&] { (void)open->isMaterialKindUndamaged(name); }),
                ElementsAre("> isMaterialKindUndamaged", "> isStaticMaterialName", "< isStaticMaterialName",
                            "< isMaterialKindUndamaged"))
        << name;
  }
  EXPECT_EQ(lines_.at("isMaterialKindUndamaged"), 1619U);
}

TEST_F(TheCallStack, ShowsALookAtDependencies) {
  const OpenModel open({{{"a_b_1_2", 80}}}, "m");
  for (const unsigned kind : {80U, 81U}) {
    EXPECT_THAT(during([&] { (void)open->getMaterialDependencies(kind); }),
                ElementsAre("> getMaterialDependencies", "< getMaterialDependencies"));
  }
  EXPECT_EQ(lines_.at("getMaterialDependencies"), 1675U);
}

TEST_F(TheCallStack, ShowsALookForDefaultKindsOnEveryPath) {
  const OpenModel open({{{"wall", 0}, {"roof", 73}}}, "m");
  Strings names;
  const std::regex wall("wall");
  for (const auto& look :
       {std::pair<std::regex, Strings*>{wall, nullptr}, {wall, &names}, {std::regex("x"), nullptr}}) {
    EXPECT_THAT(during([&] { (void)open->hasDefaultMaterialKinds(look.first, look.second); }),
                ElementsAre("> hasDefaultMaterialKinds", "< hasDefaultMaterialKinds"));
  }
  EXPECT_EQ(lines_.at("hasDefaultMaterialKinds"), 1722U);
}

TEST_F(TheCallStack, ShowsALookForDisorderedKindsUntilTheFirstOrToTheEnd) {
  const OpenModel open({{{"n7", 73}, {"stone", 73}}}, "m");
  EXPECT_THAT(
      during([&] { (void)open->hasDisorderedMaterialKinds(nullptr); }),
      ElementsAre("> hasDisorderedMaterialKinds",                      //
                  "> isStaticMaterialName", "< isStaticMaterialName",  //
                  "> getMaterialNumericID", "< getMaterialNumericID",  //
                  "> isDestroyedMaterialName", "< isDestroyedMaterialName", "< hasDisorderedMaterialKinds"));
  Strings names;
  EXPECT_THAT(
      during([&] { (void)open->hasDisorderedMaterialKinds(&names); }),
      ElementsAre("> hasDisorderedMaterialKinds",                            //
                  "> isStaticMaterialName", "< isStaticMaterialName",        //
                  "> getMaterialNumericID", "< getMaterialNumericID",        //
                  "> isDestroyedMaterialName", "< isDestroyedMaterialName",  //
                  "> isStaticMaterialName", "< isStaticMaterialName", "< hasDisorderedMaterialKinds"));
  EXPECT_EQ(lines_.at("hasDisorderedMaterialKinds"), 1754U);
}

// --- Category, health, parameters, states ---

TEST_F(TheCallStack, ShowsTheProposalOfACategory) {
  const OpenModel open({{{"wall", 90}}}, "m");
  EXPECT_THAT(during([&] { (void)open->calculateType(); }),
              ElementsAre("> calculateType",  //
                          "> isMaterialKindUndamaged", "> isStaticMaterialName", "< isStaticMaterialName",
                          "< isMaterialKindUndamaged",  //
                          "> isMaterialKindDestroyed", "> isStaticMaterialName", "< isStaticMaterialName",
                          "< isMaterialKindDestroyed", "< calculateType"));
  const OpenModel empty({}, "m");
  EXPECT_THAT(during([&] { (void)empty->calculateType(); }),
              ElementsAre("> calculateType", "< calculateType"));
}

TEST_F(TheCallStack, ShowsALookForAnEntry) {
  const OpenModel open({}, "m");
  EXPECT_THAT(during([&] { Access::checkForExistence(*open); }),
              ElementsAre("> checkForExistence", "< checkForExistence"));
  Access::fragileMap()["m"];
  EXPECT_THAT(during([&] { Access::checkForExistence(*open); }),
              ElementsAre("> checkForExistence", "< checkForExistence"));
}

TEST_F(TheCallStack, ShowsTheConversionToAFragileWithItsCallbacksInside) {
  const OpenModel open({{{"nwall", 73}}}, "m");
  const ks::Connection listening =
      open->connectDestructibleTypeChanged([&] { (void)open->getDestructibleState(); });
  EXPECT_THAT(during([&] { open->setAsFragile(); }),
              ElementsAre("> setAsFragile", "> setMissingFragile",                           //
                          "> calculateDestructibleHealth", "< calculateDestructibleHealth",  //
                          "> isMaterialKindUndamaged", "> isStaticMaterialName", "< isStaticMaterialName",
                          "< isMaterialKindUndamaged", "< setMissingFragile",  //
                          "> getDestructibleState", "< getDestructibleState", "< setAsFragile"));
}

TEST_F(TheCallStack, ShowsRefusedConversions) {
  const OpenModel open({}, "m");
  const auto twice = [&](void (KsDestructiblesHelper::*convert)()) {
    ((*open).*convert)();
    return during([&] { ((*open).*convert)(); });
  };
  EXPECT_THAT(twice(&KsDestructiblesHelper::setAsStructure),
              ElementsAre("> setAsStructure", "< setAsStructure"));
  EXPECT_THAT(twice(&KsDestructiblesHelper::setAsFragile), ElementsAre("> setAsFragile", "< setAsFragile"));
  EXPECT_THAT(twice(&KsDestructiblesHelper::setAsFallingAtoms),
              ElementsAre("> setAsFallingAtoms", "< setAsFallingAtoms"));
  open->setAsNonDestructible(true);
  EXPECT_THAT(during([&] { open->setAsNonDestructible(false); }),
              ElementsAre("> setAsNonDestructible", "< setAsNonDestructible"));
}

TEST_F(TheCallStack, ShowsFillersThatFindTheirEntry) {
  const OpenModel open({}, "m");
  Access::fragileMap()["m"];
  Access::fallingAtomMap()["m"];
  EXPECT_THAT(during([&] { Access::setMissingFragile(*open); }),
              ElementsAre("> setMissingFragile", "< setMissingFragile"));
  EXPECT_THAT(during([&] { Access::setMissingFallingAtom(*open); }),
              ElementsAre("> setMissingFallingAtom", "< setMissingFallingAtom"));
}

TEST_F(TheCallStack, ShowsTheHealthEstimateOnItsPaths) {
  const auto estimate = [&](const std::string& name) {
    pretendLoaded();
    const OpenModel open({}, name);
    return during([&] { open->calculateDestructibleHealth(); });
  };
  writeVisual("environment/a/environment/rock.visual", "9 9 9");
  writeVisual("small.visual", "1 1 1");
  const auto plain = {"> calculateDestructibleHealth", "< calculateDestructibleHealth"};
  EXPECT_THAT(estimate("a/gatesandfences/b"),
              ElementsAre("> calculateDestructibleHealth", "> getMaterialsForState", "> loadConfig",
                          "< loadConfig", "< getMaterialsForState", "< calculateDestructibleHealth"));
  EXPECT_THAT(estimate("environment/a/environment/rock.model"), ElementsAreArray(plain));
  EXPECT_THAT(estimate("a/environment/none.model"), ElementsAreArray(plain));
  EXPECT_THAT(estimate("small.model"), ElementsAreArray(plain));
  EXPECT_THAT(estimate("none.model"), ElementsAreArray(plain));
}

TEST_F(TheCallStack, ShowsTheAccessOfParameters) {
  const OpenModel open({}, "m");
  const auto expectTracked = [&](const std::string& name, const std::function<void()>& access) {
    const Journal expected = {"> " + name, "< " + name};
    EXPECT_EQ(during(access), expected);
  };
  KsDestructibleModuleDesc module;
  KsDestructibleFragileDesc fragile;
  KsDestructibleFallingAtomDesc fallingAtom;
  const auto accessAll = [&] {
    expectTracked("getDestructibleModule", [&] { open->getDestructibleModule("wall", module); });
    expectTracked("updateDestructibleModule", [&] { open->updateDestructibleModule("wall", module, true); });
    expectTracked("getDestructibleModule", [&] { open->getDestructibleModule("wall", module); });
    expectTracked("updateDestructibleModule", [&] { open->updateDestructibleModule("wall", module, true); });
    expectTracked("getFragileParameters", [&] { open->getFragileParameters(fragile); });
    expectTracked("updateFragileParameters", [&] { open->updateFragileParameters(fragile); });
    expectTracked("getFallingAtomParameters", [&] { open->getFallingAtomParameters(fallingAtom); });
    expectTracked("updateFallingAtomParameters", [&] { open->updateFallingAtomParameters(fallingAtom); });
  };
  accessAll();
  Access::type(*open) = DT_FRAGILE;
  accessAll();
  Access::fragileMap()["m"];
  fragile.health = 9;
  accessAll();
  Access::type(*open) = DT_FALLING_ATOMS;
  Access::fallingAtomMap()["m"];
  fallingAtom.health = 9;
  accessAll();
}

TEST_F(TheCallStack, ShowsTheOperationsOnStates) {
  const OpenModel open({{{"a_b_1_2", 80}}}, "m");
  const auto expectTracked = [&](const std::string& name, const std::function<void()>& access) {
    const Journal expected = {"> " + name, "< " + name};
    EXPECT_EQ(during(access), expected);
  };
  for (int i = 0; i < 2; ++i) {
    expectTracked("addDestructibleState", [&] { open->addDestructibleState("x"); });
    expectTracked("addMaterialToDestrState", [&] { open->addMaterialToDestrState("x", "a"); });
  }
  expectTracked("addMaterialToDestrState", [&] { open->addMaterialToDestrState("y", "a"); });
  for (int i = 0; i < 2; ++i)
    expectTracked("delMaterialFromDestrState", [&] { open->delMaterialFromDestrState("x", "a"); });
  for (int i = 0; i < 2; ++i) expectTracked("delDestructibleState", [&] { open->delDestructibleState("x"); });
  expectTracked("getDestructibleState", [&] { (void)open->getDestructibleState(); });
}

TEST_F(TheCallStack, ShowsTheLoadWithinOperationsOnStates) {
  const OpenModel open({{{"a_b_1_2", 80}}}, "m");
  EXPECT_THAT(during([&] { open->getStateNames(); }),
              ElementsAre("> getStateNames", "> loadConfig", "< loadConfig", "< getStateNames"));
  for (const char* state : {"undamaged", "x"}) {
    EXPECT_THAT(
        during([&] { open->getMaterialsForState(state); }),
        ElementsAre("> getMaterialsForState", "> loadConfig", "< loadConfig", "< getMaterialsForState"));
    EXPECT_THAT(
        during([&] { open->setDestructibleState(state); }),
        ElementsAre("> setDestructibleState", "> loadConfig", "< loadConfig", "< setDestructibleState"));
  }
  EXPECT_THAT(during([&] { open->getMatKindsForState("undamaged"); }),
              ElementsAre("> getMatKindsForState", "> getMaterialsForState", "> loadConfig", "< loadConfig",
                          "< getMaterialsForState", "> getMaterialDependencies", "< getMaterialDependencies",
                          "< getMatKindsForState"));
  EXPECT_THAT(
      during([&] { open->setMaterialDestroyed(90, true); }),
      ElementsAre("> setMaterialDestroyed", "> loadConfig", "< loadConfig", "< setMaterialDestroyed"));
}

// --- What is not tracked ---

TEST_F(TheCallStack, DoesNotShowPlainAccessorsConnectionsAndQueriesOfTheDisabler) {
  const OpenModel open({{{"wall", 73}}}, "m");
  EXPECT_THAT(during([&] {
                (void)open->isUndamagedMaterialName("n");
                (void)open->getMaterialKind("wall");
                (void)open->getMaterialNames();
                (void)open->getMaterialNames(73);
                open->resetMatKindsByName(open.model.get());
                (void)open->isMaterialKindVisible(73);
                (void)open->bspMaterialNames();
                (void)open->getHardpointNames();
                (void)open->materialDisabler();
                (void)open->modelName();
                (void)open->destructibleType();
                (void)open->isMissingInDestructiblesXml();
                open->createMaterialBindings();
                std::string tag;
                (void)open->getStructureAchievementTag(tag);
                (void)open->updateStructureAchievementTag("x");
                (void)Access::categoryName(*open);
                (void)Access::checkTagForEmpty(*open, "x");
                const ks::Connection type = open->connectDestructibleTypeChanged([] {});
                const ks::Connection loaded = open->connectLoadedConfigSignal([] {});
              }),
              IsEmpty());
}

}  // namespace
}  // namespace Tal
