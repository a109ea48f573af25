// Whatever allocation of an edit fails: the document stays whole, and the same edit made again ends as if
// nothing had failed.

#include <support/failing_allocation.h>
#include <support/mounted_root.h>

#include <resources/data_section_cache.h>
#include <resources/derivation.h>

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>
#include <vector>

namespace {

using Tal::DataSection;
using Tal::SmartPointer;
using Edit = std::function<void(DataSection&)>;

/// Makes the edit, with one allocation failing; false when it needs fewer than that.
bool failAt(long place, const Edit& edit, DataSection& section) {
  const support::FailingAllocation failing(place);
  try {
    edit(section);
  } catch (const std::bad_alloc&) {
  }
  return failing.hasFailed();
}

/// The text of a file that held `before`, after an edit of its root and a save.
std::string edited(const std::string& before, const Edit& edit) {
  const support::MountedRoot root("a.xml", before);
  const SmartPointer<DataSection> section = support::openResource("a.xml");
  edit(*section);
  EXPECT_TRUE(section->save());
  return root.read("a.xml");
}

/// Lets each allocation of the edit fail in turn, each time in a document read anew, and makes the edit
/// again; returns how many there are.
long failEach(const std::string& before, const Edit& edit) {
  const std::string wanted = edited(before, edit);
  EXPECT_NE(wanted, before);
  for (long place = 0;; ++place) {
    const support::MountedRoot root("a.xml", before);
    const SmartPointer<DataSection> section = support::openResource("a.xml");
    if (!failAt(place, edit, *section)) return place;
    edit(*section);
    EXPECT_TRUE(section->save());
    EXPECT_EQ(root.read("a.xml"), wanted) << before << "\nallocation " << place;
    if (testing::Test::HasFailure()) return place;
  }
}

/// Documents in which white space and comments around the elements a, b and c matter.
const std::vector<std::string> kDocuments = {
    "<r>\n  <!-- of a -->\n  <a>1</a>\n  <b/>\n  <!-- of c --> text\n  <c><a/></c>\n</r>\n",
    "<r><a/><!-- of b --><b>long text that no small string holds, to be sure of it</b><c/></r>",
    "<r>\r\n\t<c>\r\n\t\t<a/>\r\n\t</c>\r\n\t<b/>\r\n\t<a/> <!-- a comment behind the last child -->\r\n</r>",
    "<r>\n  <a/>\n</r>",
};

struct NamedEdit {
  const char* name;
  Edit edit;
};

const NamedEdit kEdits[] = {
    {"RemovesTheFirstChild",
     [](DataSection& root) {
       if (root.findChild("a")) root.removeChild(root.findChild("a"));
     }},
    {"RemovesEveryChildOfATag", [](DataSection& root) { root.deleteSections("a"); }},
    {"RemovesAllChildren", [](DataSection& root) { root.removeChildren(); }},
    {"RemovesOneChildAfterTheOther",
     [](DataSection& root) {
       while (root.childCount() > 0) root.removeChild(root.child(0));
     }},
    {"WritesAValue", [](DataSection& root) { root.writeString("a", "a value that no small string holds"); }},
    {"WritesAValueBelowANewChild",
     [](DataSection& root) { root.writeString("d/e", "a value of a new element"); }},
    {"SetsTheTextBesideTheChildren",
     [](DataSection& root) { root.setValue("a text that no small string holds, beside the children"); }},
    {"EmptiesAndFillsAnew",
     [](DataSection& root) {
       root.removeChildren();
       root.writeString("f", "1");
     }},
};

class AnEditWithoutMemory : public testing::TestWithParam<NamedEdit> {};

TEST_P(AnEditWithoutMemory, CanBeMadeAgainAsIfNothingHadHappened) {
  long failures = 0;
  for (const std::string& document : kDocuments) failures += failEach(document, GetParam().edit);
  EXPECT_GT(failures, 8) << "so many allocations were made to fail";
}

INSTANTIATE_TEST_SUITE_P(Of, AnEditWithoutMemory, testing::ValuesIn(kEdits),
                         [](const auto& one) { return std::string(one.param.name); });

std::vector<std::string> tagsOf(const DataSection& section) {
  std::vector<std::string> tags;
  for (const SmartPointer<DataSection>& child : section) tags.emplace_back(child->tag());
  return tags;
}

TEST(ADerivedValueWithoutMemory, CanBeAskedForAgain) {
  const std::vector<std::string> wanted = {"a-tag-that-no-small-string-holds", "b"};
  const support::MountedRoot root("a.xml", "<r><a-tag-that-no-small-string-holds/><b/></r>");
  const Tal::Derivation<std::vector<std::string>> tags(&tagsOf);
  long place = 0;
  for (bool hasFailed = true; hasFailed; ++place) {
    Tal::DataSectionCache::clear();
    const SmartPointer<DataSection> section = support::openResource("a.xml");
    hasFailed = failAt(
        place, [&tags](DataSection& of) { of.derived(tags); }, *section);
    EXPECT_EQ(*section->derived(tags), wanted) << "allocation " << place;
    EXPECT_EQ(section->derived(tags), section->derived(tags)) << "allocation " << place;
    section->appendChild("c");
    EXPECT_EQ(section->derived(tags)->size(), 3U) << "allocation " << place;
  }
  EXPECT_GT(place, 5) << "so many allocations were made to fail";
}

}  // namespace
