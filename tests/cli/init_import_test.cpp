#include <cli/cli_fixture.h>

#include <filesystem>

namespace cli_test {
namespace {

namespace fs = std::filesystem;

using Init = CommandLine;

TEST_F(Init, MakesAnEmptyDatabaseAndEffectsFile) {
  EXPECT_EQ(result({"init", "new/game"}),
            "made new/game/scripts/destructibles.xml\nmade new/game/scripts/destructibles_effects.xml\n");
  EXPECT_EQ(folder_.read("new/game/scripts/destructibles.xml"),
            "<root>\n\t<trees/>\n\t<fragiles/>\n\t<fallingAtoms/>\n\t<structures/>\n</root>\n");
  EXPECT_EQ(folder_.read("new/game/scripts/destructibles_effects.xml"),
            "<root>\n\t<fragiles/>\n\t<fallingAtoms/>\n\t<structures/>\n</root>\n");
  EXPECT_EQ(result({"--root", "new/game", "list", "--json"}), "[]\n");
}

TEST_F(Init, MakesWhatIsMissingAndLeavesWhatIsThere) {
  const std::string effects = "half/scripts/destructibles_effects.xml";
  folder_.write(effects, "mine");
  EXPECT_EQ(result({"init", "half"}), "made half/scripts/destructibles.xml\nkept " + effects + "\n");
  EXPECT_EQ(folder_.read(effects), "mine");
  fs::remove(folder_ / effects);
  folder_.write("half/scripts/destructibles.xml", "<root>mine</root>");
  EXPECT_EQ(result({"init", "half"}), "kept half/scripts/destructibles.xml\nmade " + effects + "\n");
  EXPECT_EQ(folder_.read("half/scripts/destructibles.xml"), "<root>mine</root>");
  EXPECT_EQ(result({"init", "half"}), "kept half/scripts/destructibles.xml\nkept " + effects + "\n");
  EXPECT_THAT(folder_.read(effects), testing::StartsWith("<root>\n\t<fragiles/>"));
}

TEST_F(Init, RefusesWhatStandsThereAndIsNoFile) {
  fs::create_directories(folder_ / "link/scripts");
  fs::create_symlink("nowhere", folder_ / "link/scripts/destructibles.xml");
  EXPECT_THAT(refusal({"init", "link"}),
              testing::HasSubstr("is a link to nothing; remove what stands there"));
  fs::create_directories(folder_ / "folder/scripts/destructibles_effects.xml");
  folder_.write("folder/scripts/destructibles.xml", "<root/>");
  const ProcessResult refused = run({"init", "folder"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, testing::HasSubstr("destructibles_effects.xml is no regular file; remove what"));
  const support::TemporaryFolder outside;
  outside.write("destructibles.xml", "<root/>");
  fs::create_directories(folder_ / "away");
  fs::create_directory_symlink(outside.path(), folder_ / "away/scripts");
  EXPECT_THAT(run({"init", "away"}).err, testing::HasSubstr("leads out of its root through a link"));
}

TEST_F(Init, SaysWhyAFolderCannotBeMade) {
  folder_.write("file", "");
  EXPECT_EQ(refusal({"init", "file"}),
            "making the folder \"file\": File exists; move the file of that name away");
}

TEST_F(Init, ThatFailsLeavesNoFolderThatItMade) {
  const std::string tooLong(300, 'a');
  EXPECT_THAT(refusal({"init", "new/game/" + tooLong}), testing::HasSubstr("File name too long"));
  EXPECT_FALSE(fs::exists(folder_ / "new"));
  // A limit on file sizes: the folders can be made, the files cannot.
  fs::create_directories(folder_ / "old");
  const ProcessResult limited = support::runProcess(
      "/bin/sh", {"-c", "ulimit -f 0; exec \"$@\"", "sh", DESTRUCTIBLES_PROGRAM, "init", "old/game"},
      {.folder = folder_.path()});
  EXPECT_EQ(limited.status, 1);
  EXPECT_TRUE(fs::is_empty(folder_ / "old"));
}

class Import : public CommandLine {
 protected:
  static std::string barrel() { return TEST_GLTF_FOLDER "/barrel.gltf"; }
};

TEST_F(Import, MakesAModelOfAFileWithoutAnyNamingConvention) {
  EXPECT_EQ(
      result({"import", barrel(), "content/props/barrel.model", "--kind", "Material.001=73"}),
      "made content/props/barrel.model\nmade content/props/barrel.visual\nmade content/props/barrel.glb\n"
      "  material      Material.001  kind 73 (from --kind)\n"
      "  BSP material  Material.001\n");
  EXPECT_EQ(run({"convert", "content/props/barrel.model", "auto"}).status, 0);
  EXPECT_THAT(result({"show", "content/props/barrel.model"}), testing::HasSubstr("category       fragile"));
}

TEST_F(Import, RenamesMaterialsAndMakesHardPoints) {
  EXPECT_EQ(
      result({"import", barrel(), "content/props/barrel.model", "--material", "Material.001=n_wood",
              "--hard-point", "Cylinder=HP_middle", "--bsp", "n_wood"}),
      "made content/props/barrel.model\nmade content/props/barrel.visual\nmade content/props/barrel.glb\n"
      "  material      n_wood     kind 73 (by its name)\n"
      "  BSP material  n_wood\n"
      "  hard point    HP_middle\n");
}

TEST_F(Import, WarnsOfAKindThatNoPartHas) {
  const ProcessResult imported =
      run({"import", barrel(), "content/props/barrel.model", "--kind", "Material.001=5"});
  EXPECT_EQ(imported.status, 0);
  EXPECT_EQ(imported.err,
            "destructibles: warning: the material \"Material.001\" has the kind 5, which shows no part; "
            "undamaged parts "
            "have 73 to 86, destroyed ones 87 to 100, and all else 0\n");
  EXPECT_THAT(result({"show", "content/props/barrel.model"}),
              testing::HasSubstr("\n  material \"Material.001\" has the kind 5, which shows no part"));
  EXPECT_EQ(run({"import", barrel(), "content/props/tin.model", "--kind", "Material.001=0"}).err, "");
}

TEST_F(Import, WritesBelowTheFirstRoot) {
  const support::TemporaryFolder first;
  const ProcessResult imported =
      run({"--root", first.path().string(), "--root", ".", "import", barrel(), "content/barrel.model"});
  EXPECT_EQ(imported.status, 0) << imported.err;
  EXPECT_TRUE(fs::exists(first / "content/barrel.model"));
  EXPECT_FALSE(fs::exists(folder_ / "content/barrel.model"));
}

TEST_F(Import, ReplacesAModelOnlyWhenForced) {
  EXPECT_THAT(refusal({"import", barrel(), kCrate}), testing::HasSubstr("is already there"));
  EXPECT_EQ(run({"import", barrel(), kCrate, "--force"}).status, 0);
}

TEST_F(Import, RefusesNamesThatTheFileDoesNotHold) {
  const std::string model = "content/props/barrel.model";
  EXPECT_EQ(refusal({"import", barrel(), model, "--kind", "Materal.001=73"}),
            barrel() + ": has no material \"Materal.001\"; did you mean \"Material.001\"?");
  EXPECT_EQ(refusal({"import", barrel(), model, "--material", "x=y"}),
            barrel() + ": has no material \"x\"; there is only \"Material.001\"");
  EXPECT_THAT(refusal({"import", barrel(), model, "--hard-point", "Cylindre=HP_a"}),
              testing::HasSubstr("did you mean \"Cylinder\"?"));
  EXPECT_THAT(refusal({"import", barrel(), model, "--bsp", "x"}), testing::HasSubstr("\"Material.001\""));
}

TEST_F(Import, TakesMalformedOptionsForWrongUsage) {
  const std::string model = "content/props/barrel.model";
  for (const char* const kind :
       {"Material.001", "Material.001=", "=73", "Material.001=x", "Material.001=-1",
        "Material.001=2147483648", "Material.001=4294967296", "Material.001=7.5", "Material.001= 7"}) {
    EXPECT_THAT(misuse({"import", barrel(), model, "--kind", kind}), testing::HasSubstr("MATERIAL=NUMBER"));
  }
  EXPECT_THAT(misuse({"import", barrel(), model, "--material", "a"}), testing::HasSubstr("OLD=NEW"));
  EXPECT_THAT(misuse({"import", barrel(), model, "--hard-point", "a"}), testing::HasSubstr("NODE=NAME"));
  EXPECT_THAT(misuse({"import", barrel()}), testing::HasSubstr("MODEL"));
}

TEST_F(Import, RefusesModelNamesThatCannotBe) {
  EXPECT_THAT(refusal({"import", barrel(), "/tmp/barrel.model"}), testing::HasSubstr("is absolute"));
  EXPECT_THAT(refusal({"import", barrel(), "../barrel.model"}), testing::HasSubstr("holds \"..\""));
  EXPECT_THAT(refusal({"import", barrel(), "content/barrel"}), testing::HasSubstr("must end in \".model\""));
  EXPECT_THAT(
      refusal({"import", barrel(), "content/a\x1b.model"}),
      testing::AllOf(testing::HasSubstr("a\\x1b.model"), testing::HasSubstr("cannot stand in the database")));
  EXPECT_THAT(refusal({"import", barrel(), " content/a.model"}),
              testing::HasSubstr("cannot stand in the database"));
}

TEST_F(Import, RefusesALinkThatLeadsOutOfTheRoot) {
  const support::TemporaryFolder outside;
  fs::create_directory_symlink(outside.path(), folder_ / "content/away");
  EXPECT_EQ(refusal({"import", barrel(), "content/away/barrel.model"}),
            barrel() + ": cannot be imported: \"" + (folder_ / "content/away/barrel.visual").string() +
                "\" leads out of its root through a link; put the file itself in the place of the link");
  EXPECT_TRUE(outside.listing().empty());
}

TEST_F(Import, RefusesAModelOfALaterRootUnlessItIsForced) {
  const support::TemporaryFolder first;
  const Arguments roots = {"--root", first.path().string(), "--root", "."};
  Arguments words = roots;
  words.insert(words.end(), {"import", barrel(), kCrate});
  const ProcessResult refused = run(words);
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, testing::HasSubstr("already; make one in the first root"));
  EXPECT_TRUE(first.listing().empty());
  words.push_back("--force");
  EXPECT_EQ(run(words).status, 0);
  // As a process leaves it that is killed in between.
  fs::remove(first / "content/props/crate.model");
  words = roots;
  words.insert(words.end(), {"show", kCrate});
  EXPECT_THAT(run(words).err, testing::HasSubstr("was cut off; import the model again"));
  words = roots;
  words.insert(words.end(), {"import", barrel(), kCrate});
  EXPECT_EQ(run(words).status, 0) << "it is finished without being forced";
}

TEST_F(Import, RefusesABackslashInTheName) {
  EXPECT_THAT(refusal({"import", barrel(), "content\\props\\barrel.model"}),
              testing::HasSubstr("holds a backslash"));
}

TEST_F(Import, RefusesASourceThatIsTooLargeBeforeItSaysThatItImports) {
  const support::TemporaryFolder elsewhere;
  const std::string large = (elsewhere / "large.glb").string();
  elsewhere.write("large.glb", "glTF");
  fs::resize_file(large, (std::uintmax_t{512} << 20U) + 1);
  EXPECT_EQ(refusal({"import", large, "content/large.model"}),
            large + ": is larger than 512 MiB; make it smaller, or split the model");
}

TEST_F(Import, TakesBuffersOfOtherFoldersWhenTheyAreAllowed) {
  const fs::path source = barrel();
  fs::create_directories(folder_ / "kit/models");
  fs::copy_file(source.parent_path() / "barrel.bin", folder_ / "kit/barrel.bin");
  std::string text = folder_.read(source.string());
  const std::size_t place = text.find("barrel.bin");
  ASSERT_NE(place, std::string::npos);
  folder_.write("kit/models/barrel.gltf", text.insert(place, "../"));
  EXPECT_THAT(refusal({"import", "kit/models/barrel.gltf", "content/new/barrel.model"}),
              testing::HasSubstr("allow its folder with --source-root"));
  EXPECT_EQ(
      run({"import", "kit/models/barrel.gltf", "content/new/barrel.model", "--source-root", "kit"}).status,
      0);
  EXPECT_THAT(
      misuse({"import", "kit/models/barrel.gltf", "content/new/barrel.model", "--source-root", "none"}),
      testing::HasSubstr("\"none\" is not a folder"));
}

TEST_F(Import, NamesTheFileAndTheFaultOfABrokenOne) {
  folder_.write("source/broken.gltf", "{\"asset\": {\"version\": \"2.0\"}");
  folder_.write("source/empty.glb", "");
  fs::copy_file(barrel(), folder_ / "source/barrel.gltf");  // without its buffer
  for (const char* const file :
       {"source/broken.gltf", "source/empty.glb", "source/barrel.gltf", "source/none.glb"}) {
    EXPECT_THAT(refusal({"import", file, "content/new/barrel.model"}),
                testing::StartsWith(std::string(file) + ": "));
  }
}

}  // namespace
}  // namespace cli_test
