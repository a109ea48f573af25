#include <support/mounted_root.h>

#include <resources/data_section_cache.h>
#include <resources/derivation.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using support::MountedRoot;
using support::openResource;
using Tal::DataSection;
using Tal::Derivation;
using testing::ElementsAre;

class ADerivedValue : public testing::Test {
 protected:
  ADerivedValue() { count = 0; }

  static std::vector<std::string> tagsOf(const DataSection& section) {
    ++count;
    std::vector<std::string> tags;
    for (const auto& child : section) tags.emplace_back(child->tag());
    return tags;
  }
  static int textsIn(const DataSection& section) {
    ++count;
    int texts = section.value().empty() ? 0 : 1;
    for (const auto& child : section) texts += *child->derived(kTexts);
    return texts;
  }

  static int count;  // of the computations since the test began
  static const Derivation<std::vector<std::string>> kTags;
  static const Derivation<int> kTexts;
};
int ADerivedValue::count = 0;
const Derivation<std::vector<std::string>> ADerivedValue::kTags(&tagsOf);
const Derivation<int> ADerivedValue::kTexts(&textsIn);

TEST_F(ADerivedValue, IsComputedOnceForAllHandlesOfADocument) {
  const MountedRoot root("a.xml", "<r><b/><c/></r>");
  const auto first = openResource("a.xml")->derived(kTags);
  EXPECT_THAT(*first, ElementsAre("b", "c"));
  EXPECT_EQ(openResource("a.xml")->derived(kTags), first);
  EXPECT_EQ(count, 1);
}

TEST_F(ADerivedValue, IsComputedAgainWhenTheDocumentWasEdited) {
  const MountedRoot root("a.xml", "<r><b/><c/></r>");
  const auto section = openResource("a.xml");
  const auto before = section->derived(kTags);
  section->findChild("c")->appendChild("d");
  EXPECT_THAT(*section->findChild("c")->derived(kTags), ElementsAre("d"));
  section->appendChild("e");
  EXPECT_THAT(*section->derived(kTags), ElementsAre("b", "c", "e"));
  section->removeChild("e");
  EXPECT_THAT(*section->derived(kTags), ElementsAre("b", "c"));
  EXPECT_EQ(count, 4);
  EXPECT_THAT(*before, ElementsAre("b", "c")) << "whoever has it keeps it";
  section->writeString("b", "");
  EXPECT_EQ(openResource("a.xml")->derived(kTags), section->derived(kTags));
  EXPECT_EQ(count, 4) << "nothing was changed";
}

TEST_F(ADerivedValue, IsComputedAgainWhenTheFileHasOtherBytes) {
  const MountedRoot root("a.xml", "<r><b/></r>");
  EXPECT_THAT(*openResource("a.xml")->derived(kTags), ElementsAre("b"));
  root.replace("a.xml", "<r><b/></r>");
  EXPECT_THAT(*openResource("a.xml")->derived(kTags), ElementsAre("b"));
  EXPECT_EQ(count, 1) << "the same bytes";
  root.replace("a.xml", "<r><c/></r>");
  EXPECT_THAT(*openResource("a.xml")->derived(kTags), ElementsAre("c"));
  EXPECT_EQ(count, 2);
}

TEST_F(ADerivedValue, StaysWhenTheDocumentIsSaved) {
  const MountedRoot root("a.xml", "<r><b/></r>");
  const auto section = openResource("a.xml");
  section->appendChild("c");
  const auto edited = section->derived(kTags);
  ASSERT_TRUE(section->save());
  EXPECT_EQ(openResource("a.xml")->derived(kTags), edited);
}

TEST_F(ADerivedValue, GoesWithADocumentThatIsPurged) {
  const MountedRoot root("a.xml", "<r><b/></r>");
  const std::weak_ptr<const std::vector<std::string>> kept = openResource("a.xml")->derived(kTags);
  EXPECT_FALSE(kept.expired());
  Tal::DataSectionCache::purge("a.xml", false);
  EXPECT_TRUE(kept.expired());
  EXPECT_THAT(*openResource("a.xml")->derived(kTags), ElementsAre("b"));
}

TEST_F(ADerivedValue, IsThatOfItsDerivationAndItsSection) {
  const MountedRoot root("a.xml", "<r>x<b>y<c/><d>z</d></b></r>");
  root.write("other.xml", "<r><e/></r>");
  const auto section = openResource("a.xml");
  const auto below = section->openSection("b");
  for (int round = 0; round < 2; ++round) {
    EXPECT_THAT(*below->derived(kTags), ElementsAre("c", "d"));
    EXPECT_EQ(*below->derived(kTexts), 2);
    EXPECT_THAT(*section->derived(kTags), ElementsAre("b"));
    EXPECT_EQ(*section->derived(kTexts), 3);
    EXPECT_THAT(*openResource("other.xml")->derived(kTags), ElementsAre("e"));
  }
  EXPECT_EQ(count, 3 + 4) << "one may be made of others";
}

TEST_F(ADerivedValue, OfARemovedSectionIsOfWhatItReadsAs) {
  const MountedRoot root("a.xml", "<r><b><c/></b></r>");
  const auto section = openResource("a.xml");
  const auto removed = section->findChild("b");
  EXPECT_THAT(*removed->derived(kTags), ElementsAre("c"));
  section->removeChild(removed);
  EXPECT_THAT(*removed->derived(kTags), ElementsAre("c"));
  EXPECT_THAT(*section->derived(kTags), ElementsAre());
}

/// A value is refused as long as the document holds "bad".
std::string unlessBad(const DataSection& section) {
  if (section.findChild("bad")) throw std::runtime_error("bad");
  return "good";
}

TEST_F(ADerivedValue, IsNotKeptWhenItsFunctionThrows) {
  const MountedRoot root("a.xml", "<r><bad/></r>");
  const Derivation<std::string> verdict(&unlessBad);
  const auto section = openResource("a.xml");
  const auto tags = section->derived(kTags);
  EXPECT_THROW(section->derived(verdict), std::runtime_error);
  EXPECT_THROW(section->derived(verdict), std::runtime_error);
  EXPECT_EQ(section->derived(kTags), tags) << "what was kept stays";
  section->removeChild("bad");
  EXPECT_EQ(*section->derived(verdict), "good");
}

/// Reads a section and then adds a child to it.
int countAndAdd(const DataSection& section) {
  const int count = section.childCount();
  openResource("a.xml")->appendChild("added");
  return count;
}

TEST_F(ADerivedValue, IsNotKeptWhenItsFunctionEditsTheDocument) {
  const MountedRoot root("a.xml", "<r/>");
  const Derivation<int> counting(&countAndAdd);
  const auto section = openResource("a.xml");
  EXPECT_EQ(*section->derived(counting), 0);
  EXPECT_EQ(*section->derived(counting), 1);
}

std::shared_ptr<int> shared(const DataSection& /*section*/) {
  return std::make_shared<int>(7);
}

TEST_F(ADerivedValue, GoesWithItsDerivation) {
  const MountedRoot root("a.xml", "<r><b/></r>");
  const auto section = openResource("a.xml");
  const auto tags = section->derived(kTags);
  std::optional<Derivation<std::shared_ptr<int>>> ending(std::in_place, &shared);
  const std::weak_ptr<int> ofRoot = *section->derived(*ending);
  const std::weak_ptr<int> ofChild = *section->findChild("b")->derived(*ending);
  EXPECT_FALSE(ofRoot.expired());
  ending.reset();
  EXPECT_TRUE(ofRoot.expired());
  EXPECT_TRUE(ofChild.expired());
  EXPECT_EQ(section->derived(kTags), tags) << "others stay";
}

TEST_F(ADerivedValue, MayOutliveTheDocument) {
  std::shared_ptr<const std::vector<std::string>> tags;
  {
    const Derivation<std::vector<std::string>> ending(&tagsOf);
    const MountedRoot root("a.xml", "<r><b/></r>");
    tags = openResource("a.xml")->derived(ending);
    Tal::DataSectionCache::clear();
  }
  EXPECT_THAT(*tags, ElementsAre("b"));
}

/// A section of a format that tells nothing of its content.
class ForeignSection : public DataSection {
 public:
  Tal::BasicStringRef tag() const override { return "foreign"; }
  std::string value() const override { return text_; }
  bool setValue(Tal::BasicStringRef value) override {
    text_ = value;
    return true;
  }
  int childCount() const override { return 0; }
  Tal::SmartPointer<DataSection> child(int /*index*/) const override { return nullptr; }
  Tal::SmartPointer<DataSection> findChild(Tal::BasicStringRef /*tag*/) const override { return nullptr; }
  Tal::SmartPointer<DataSection> appendChild(Tal::BasicStringRef /*tag*/) override { return nullptr; }
  bool removeChild(const Tal::SmartPointer<DataSection>& /*child*/) override { return false; }
  bool removeChild(Tal::BasicStringRef /*tag*/) override { return false; }
  void removeChildren() override {}
  bool save(Tal::BasicStringRef /*fileName*/) override { return false; }

 private:
  std::string text_;
};

TEST_F(ADerivedValue, IsComputedEachTimeByAFormatThatDoesNotKeepIt) {
  const Tal::SmartPointer<DataSection> section = new ForeignSection;
  EXPECT_EQ(*section->derived(kTexts), 0);
  section->setValue("x");
  EXPECT_EQ(*section->derived(kTexts), 1);
  EXPECT_EQ(count, 2);
}

}  // namespace
