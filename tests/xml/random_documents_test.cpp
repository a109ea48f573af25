#include "random_documents.h"

#include <xml/parser.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using Tal::files::ByteBuffer;
using Tal::xml::NodeIndex;
using Tal::xml::Tree;

/// Every element's tag, number of children and text, in document order.
std::string outlineOf(const Tree& tree) {
  std::string outline;
  std::vector<NodeIndex> pending = {tree.root()};
  while (!pending.empty()) {
    const NodeIndex node = pending.back();
    pending.pop_back();
    std::string scratch;
    outline += std::string(tree.tag(node)) + ' ' + std::to_string(tree.childCount(node)) + " [" +
               std::string(tree.text(node, scratch)) + "]\n";
    for (std::uint32_t i = tree.childCount(node); i-- > 0;) pending.push_back(tree.child(node, i));
  }
  return outline;
}

/// The document after an addition to every element: what an edit of it rests on.
std::string withAdditions(Tree& tree) {
  std::vector<NodeIndex> pending = {tree.root()};
  for (std::size_t done = 0; done < pending.size(); ++done) {
    const NodeIndex node = pending[done];
    for (std::uint32_t i = 0; i < tree.childCount(node); ++i) pending.push_back(tree.child(node, i));
  }
  for (const NodeIndex node : pending) tree.appendChild(node, "added");
  return tree.serialise();
}

TEST(TheQuickParser, TakesNothingThatTheFullParserRefusesAndReadsItAlike) {
  RandomDocuments documents(1);
  int plainCount = 0;
  for (int round = 0; round < 8'000; ++round) {
    std::string text = documents.document();
    if (round % 4 != 0) text = documents.damaged(std::move(text));
    Tree::Parsed parsed;
    parsed.source = ByteBuffer::copyOf(text);
    if (!Tal::xml::parseQuickly(parsed)) continue;
    ++plainCount;
    Tree plain(std::move(parsed));
    Tal::Result<Tree> full = Tal::xml::parseAny(ByteBuffer::copyOf(text));
    ASSERT_TRUE(full) << textOf(full.fault()) << '\n' << text;
    ASSERT_EQ(outlineOf(plain), outlineOf(*full)) << text;
    ASSERT_EQ(withAdditions(plain), withAdditions(*full)) << text;
  }
  EXPECT_GT(plainCount, 1'000);
}

TEST(ADocument, WithoutEditsIsWrittenAsItWasRead) {
  RandomDocuments documents(2);
  for (int round = 0; round < 600; ++round) {
    const std::string text = documents.document();
    const Tal::Result<Tree> tree = Tal::xml::parse(ByteBuffer::copyOf(text));
    ASSERT_TRUE(tree) << textOf(tree.fault()) << '\n' << text;
    ASSERT_EQ(tree->serialise(), text);
  }
}

NodeIndex anyElement(const Tree& tree, RandomDocuments& documents) {
  NodeIndex node = tree.root();
  while (tree.childCount(node) != 0 && documents.below(4) != 0)
    node = tree.child(node, static_cast<std::uint32_t>(documents.below(tree.childCount(node))));
  return node;
}

void editAnything(Tree& tree, RandomDocuments& documents) {
  const NodeIndex node = anyElement(tree, documents);
  const std::uint32_t count = tree.childCount(node);
  switch (documents.below(5)) {
    case 0:
      tree.setText(node, Tal::xml::escaped(documents.value(), 0x10FFFF));
      break;
    case 1:
      if (count != 0) {
        const auto place = static_cast<std::uint32_t>(documents.below(count));
        EXPECT_TRUE(tree.removeChild(node, tree.child(node, place)));
      }
      break;
    case 2:
      if (documents.below(4) == 0) tree.removeChildren(node, documents.name());
      break;
    case 3:
      if (documents.below(8) == 0) tree.removeChildren(node);
      break;
    default:
      tree.appendChild(node, documents.name());
  }
}

TEST(ADocument, ReadsBackAsItStandsAfterAnyEdits) {
  RandomDocuments documents(3);
  for (int round = 0; round < 600; ++round) {
    const std::string text = documents.document();
    Tal::Result<Tree> tree = Tal::xml::parse(ByteBuffer::copyOf(text));
    ASSERT_TRUE(tree);
    for (int edit = 0; edit < 12; ++edit) {
      editAnything(*tree, documents);
      const std::string written = tree->serialise();
      const Tal::Result<Tree> again = Tal::xml::parse(ByteBuffer::copyOf(written));
      ASSERT_TRUE(again) << textOf(again.fault()) << '\n' << text << "\n----\n" << written;
      ASSERT_EQ(outlineOf(*again), outlineOf(*tree)) << text << "\n----\n" << written;
    }
  }
}

TEST(ADocument, ThatWasSavedIsEditedLikeOneThatWasReadFromThere) {
  RandomDocuments documents(5);
  for (int round = 0; round < 600; ++round) {
    const std::string text = documents.document();
    Tal::Result<Tree> kept = Tal::xml::parse(ByteBuffer::copyOf(text));
    Tal::Result<Tree> readAnew = Tal::xml::parse(ByteBuffer::copyOf(text));
    ASSERT_TRUE(kept && readAnew);
    for (int save = 0; save < 6; ++save) {
      for (std::size_t edit = documents.below(3) + 1; edit > 0; --edit) {
        RandomDocuments sameChoices = documents;
        editAnything(*kept, documents);
        editAnything(*readAnew, sameChoices);
      }
      const std::string written = kept->serialise();
      ASSERT_EQ(readAnew->serialise(), written) << text;
      kept->noteSaved();
      readAnew = Tal::xml::parse(ByteBuffer::copyOf(written));
      ASSERT_TRUE(readAnew);
    }
  }
}

TEST(ADamagedDocument, IsReadOrRefusedButNeverHarmful) {
  RandomDocuments documents(4);
  for (int round = 0; round < 2'000; ++round) {
    const std::string text = documents.damaged(documents.document());
    const Tal::Result<Tree> tree = Tal::xml::parse(ByteBuffer::copyOf(text));
    if (!tree) EXPECT_FALSE(tree.fault().what.empty());
    if (tree) {
      EXPECT_EQ(tree->serialise(), text);
    }
  }
}

}  // namespace
