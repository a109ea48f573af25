#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <string>

namespace {

using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;

using Names = std::set<std::string>;

/// What a command writes to its standard output.
std::string outputOf(const std::string& command) {
  struct Close {
    void operator()(std::FILE* pipe) const { EXPECT_EQ(pclose(pipe), 0); }
  };
  const std::unique_ptr<std::FILE, Close> pipe(popen(command.c_str(), "r"));
  std::string text;
  char buffer[4096];
  for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0;)
    text.append(buffer, count);
  return text;
}

/// The demangled names that the module's shared library defines for others, without the compiler's ABI tags.
Names exportedNames() {
  const std::string listing =
      outputOf("'" DESTRUCTIBLES_NM "' -D --defined-only -C '" DESTRUCTIBLES_SHARED_LIBRARY "'");
  const std::regex line(R"(^[0-9a-f]* \w (.*)$)");
  const std::regex abiTag(R"(\[abi:\w+\])");
  Names names;
  for (std::size_t begin = 0; begin < listing.size();) {
    const std::size_t end = listing.find('\n', begin);
    const std::string text = listing.substr(begin, end - begin);
    std::smatch match;
    EXPECT_TRUE(std::regex_match(text, match, line)) << text;
    names.insert(std::regex_replace(match[1].str(), abiTag, ""));
    begin = end == std::string::npos ? listing.size() : end + 1;
  }
  return names;
}

/// Every identifier of the public header.
Names headerIdentifiers() {
  std::ifstream stream(DESTRUCTIBLES_HEADER);
  const std::string header{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  EXPECT_THAT(header, Not(IsEmpty()));
  const std::regex identifier(R"(~?\w+)");
  return {std::sregex_token_iterator(header.begin(), header.end(), identifier), std::sregex_token_iterator()};
}

const char* const kClass =
    "Tal::(KsDestructiblesHelper|KsDestructiblesHelper::DestrStates_t|KsDestructible(Module|Fragile|"
    "FallingAtom)Desc)";

TEST(TheExportedNames, AreOnlyThoseThatTheHeaderDeclares) {
  const Names identifiers = headerIdentifiers();
  const std::regex ofClass(std::string("(typeinfo for |typeinfo name for |vtable for )") + kClass);
  const std::regex member(std::string(kClass) + R"(::(~?\w+)(\(.*)?)");
  const std::regex constant("(guard variable for )?Tal::UNDEFINED_EFFECT");
  const std::regex sceneFunction(R"(Tal::(ks_\w+)\(.*)");
  for (const std::string& name : exportedNames()) {
    std::smatch match;
    if (std::regex_match(name, ofClass) || std::regex_match(name, constant)) continue;
    if (std::regex_match(name, match, sceneFunction)) {
      EXPECT_EQ(identifiers.count(match[1].str()), 1U) << name;
      continue;
    }
    ASSERT_TRUE(std::regex_match(name, match, member)) << name;
    const std::string own = match[3].str();
    const bool isSpecial = own == "operator" || own.front() == '~' || match[1].str().ends_with(own);
    EXPECT_TRUE(isSpecial || identifiers.count(own) == 1) << name;
  }
}

TEST(TheExportedNames, HoldEveryPublicOperationAndTheTables) {
  const std::string string =
      "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >";
  const std::string name = string + " const&";
  const std::string helper = "Tal::KsDestructiblesHelper::";
  Names expected;
  for (const std::string& signature :
       {"KsDestructiblesHelper(Tal::SuperModel*, " + name + ", Tal::KsMaterialDisabler*)",
        std::string("~KsDestructiblesHelper()"),
        std::string("detachSuperModel(Tal::SuperModel*)"),
        std::string("resetDescriptions()"),
        std::string("createMaterialBindings()"),
        std::string("materialDisabler() const"),
        std::string("modelName() const"),
        std::string("getHardpointNames()"),
        std::string("bspMaterialNames() const"),
        std::string("loadConfig(bool)"),
        std::string("saveConfig()"),
        std::string("isMissingInDestructiblesXml()"),
        std::string("connectLoadedConfigSignal(std::function<void ()>) const"),
        std::string("resetMatKindsByName(Tal::SuperModel*)"),
        "getMaterialKind(" + name + ") const",
        std::string("getMaterialNames(unsigned int) const"),
        std::string("getMaterialNames() const"),
        "getMaterialNumericID(" + name + ") const",
        "isStaticMaterialName(" + name + ") const",
        "isDestroyedMaterialName(" + name + ") const",
        "isUndamagedMaterialName(" + name + ") const",
        "isMaterialKindDestroyed(" + name + ") const",
        "isMaterialKindUndamaged(" + name + ") const",
        std::string("isMaterialKindVisible(unsigned int) const"),
        std::string("getMaterialDependencies(unsigned int) const"),
        std::string("destructibleType() const"),
        std::string("calculateType() const"),
        std::string("setAsStructure()"),
        std::string("setAsFragile()"),
        std::string("setAsFallingAtoms()"),
        std::string("setAsNonDestructible(bool)"),
        std::string("connectDestructibleTypeChanged(std::function<void ()>) const"),
        std::string("calculateDestructibleHealth()"),
        "getDestructibleModule(" + name + ", Tal::KsDestructibleModuleDesc&)",
        "updateDestructibleModule(" + name + ", Tal::KsDestructibleModuleDesc const&, bool)",
        std::string("getFragileParameters(Tal::KsDestructibleFragileDesc&)"),
        std::string("updateFragileParameters(Tal::KsDestructibleFragileDesc const&)"),
        std::string("getFallingAtomParameters(Tal::KsDestructibleFallingAtomDesc&)"),
        std::string("updateFallingAtomParameters(Tal::KsDestructibleFallingAtomDesc const&)"),
        "getStructureAchievementTag(" + string + "&)",
        "updateStructureAchievementTag(" + name + ")",
        "addDestructibleState(" + name + ")",
        "delDestructibleState(" + name + ")",
        "addMaterialToDestrState(" + name + ", " + name + ")",
        "delMaterialFromDestrState(" + name + ", " + name + ")",
        std::string("getStateNames()"),
        "getMaterialsForState(" + name + ")",
        "getMatKindsForState(" + name + ")",
        "setDestructibleState(" + name + ")",
        std::string("setMaterialDestroyed(unsigned int, bool)"),
        std::string("getDestructibleState() const"),
        std::string("s_destrStateMap"),
        std::string("s_destrModuleMap"),
        std::string("s_destrFragileMap"),
        std::string("s_destrFallingAtomMap"),
        std::string("s_hasLoadedDestrXml")}) {
    expected.insert(helper + signature);
  }
  expected.insert("Tal::ks_enableTreeHiding(bool)");
  expected.insert("Tal::ks_setTreeHidingRadius(float, float)");
  expected.insert("Tal::ks_getChunkMatrix(int, int)");
  const Names exported = exportedNames();
  EXPECT_THAT(exported, IsSupersetOf(expected));
  // Signatures that spell out a standard container are compared by name.
  for (const char* operation : {"reinit", "hasDefaultMaterialKinds", "hasDisorderedMaterialKinds"}) {
    const auto isIt = [&](const std::string& text) { return text.rfind(helper + operation + "(", 0) == 0; };
    EXPECT_TRUE(std::any_of(exported.begin(), exported.end(), isIt)) << operation;
  }
}

TEST(TheExportedNames, HoldNothingOfTheStandardLibraryOrTheEngine) {
  for (const std::string& name : exportedNames()) {
    for (const char* prefix : {"std::", "__gnu", "ks::", "mio::", "Tal::SmartPointer", "Tal::DataSection",
                               "Tal::StackTracker", "Tal::FS::", "void ", "bool "})
      EXPECT_NE(name.rfind(prefix, 0), 0U) << name;
  }
}

TEST(TheThrottleOfReloads, IsFoundByADebuggerUnderItsName) {
  EXPECT_EQ(outputOf("'" DESTRUCTIBLES_NM "' '" DESTRUCTIBLES_SHARED_LIBRARY
                     "' | grep -o '[A-Za-z_]*ReloadStamp' | sort -u"),
            "lastReloadStamp\n");
}

}  // namespace
