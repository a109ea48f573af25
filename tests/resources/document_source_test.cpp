// Data sections that do not come from files.

#include <resources/data_section.h>
#include <resources/save_group.h>
#include <support/memory_documents.h>
#include <support/message_recorder.h>
#include <support/mounted_root.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "recording_listener.h"

namespace {

using support::MemoryDocuments;
using support::openResource;
using testing::ElementsAre;
using testing::HasSubstr;

class ASourceInMemory : public testing::Test {
 protected:
  ASourceInMemory() { root_.fileSystem().setDocuments(source_); }

  support::MountedRoot root_{"a.xml", "<file/>"};
  std::shared_ptr<MemoryDocuments> source_ = std::make_shared<MemoryDocuments>();
};

TEST_F(ASourceInMemory, ServesItsDocumentsInThePlaceOfFiles) {
  EXPECT_FALSE(openResource("a.xml")) << "the file is not one of them";
  source_->put("a.xml", "<r>1</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  root_.fileSystem().setDocuments(nullptr);
  EXPECT_EQ(openResource("a.xml")->tag(), "file");
}

TEST_F(ASourceInMemory, IsSavedToByASectionAndByAGroup) {
  source_->put("a.xml", "<r>1</r>");
  EXPECT_TRUE(openResource("a.xml")->setValue("2"));
  EXPECT_TRUE(openResource("a.xml")->save());
  EXPECT_EQ(source_->text("a.xml"), "<r>2</r>");
  Tal::SaveGroup group;
  openResource("a.xml")->setValue("3");
  EXPECT_TRUE(openResource("a.xml")->save());
  EXPECT_EQ(source_->text("a.xml"), "<r>2</r>") << "before the group is committed";
  EXPECT_TRUE(group.commit());
  EXPECT_EQ(source_->text("a.xml"), "<r>3</r>");
  EXPECT_EQ(root_.read("a.xml"), "<file/>");
}

TEST_F(ASourceInMemory, TakesANewDocumentAndACopyUnderAnotherName) {
  const auto section = Tal::FS::Utils::openSection("new.xml", true, nullptr);
  section->setValue("1");
  EXPECT_TRUE(section->save());
  EXPECT_TRUE(section->save("copy.xml"));
  EXPECT_EQ(source_->text("new.xml"), "<root>1</root>\n");
  EXPECT_EQ(source_->text("copy.xml"), source_->text("new.xml"));
}

TEST_F(ASourceInMemory, ShowsWhatSomebodyElseHasChanged) {
  source_->put("a.xml", "<r>1</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "1");
  source_->put("a.xml", "<r>2</r>");
  EXPECT_EQ(openResource("a.xml")->value(), "2");
}

TEST_F(ASourceInMemory, IsNotSavedOverWhatSomebodyElseHasChanged) {
  const support::MessageRecorder messages;
  source_->put("a.xml", "<r>1</r>");
  const auto section = openResource("a.xml");
  section->setValue("mine");
  source_->put("a.xml", "<r>theirs</r>");
  EXPECT_FALSE(section->save());
  EXPECT_EQ(source_->text("a.xml"), "<r>theirs</r>");
  EXPECT_THAT(messages.texts(), ElementsAre(HasSubstr("another program has changed the file")));
  EXPECT_TRUE(section->save()) << "the second one replaces that change";
  EXPECT_EQ(source_->text("a.xml"), "<r>mine</r>");
}

TEST(ASourceWithAMonitor, HasItsChangesReportedToListeners) {
  WatchedRoot root;
  const auto source = std::make_shared<MemoryDocuments>();
  root.fileSystem().setDocuments(source);
  root.listen();
  source->put("scripts/a.xml", "<r/>");
  root.fileSystem().pump();
  EXPECT_THAT(root.listener.calls, ElementsAre("added scripts/a.xml"));
}

}  // namespace
