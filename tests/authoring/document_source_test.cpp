// A database that the host keeps in memory.

#include <resources/document_source.h>
#include <support/memory_documents.h>

#include <memory>

#include "session_fixture.h"

namespace Tal::authoring {
namespace {

using testing::HasSubstr;

class ADatabaseInMemory : public SessionTest {
 protected:
  ADatabaseInMemory() {
    FS::MultiFileSystem& files = root_.fileSystem();
    documents_ = std::make_shared<support::MemoryDocuments>(files.documents());
    documents_->put(kDatabase, "<root>\n</root>\n");
    files.setDocuments(documents_);
  }

  std::shared_ptr<support::MemoryDocuments> documents_;
};

TEST_F(ADatabaseInMemory, IsEditedAndSavedAndLeavesTheFileAlone) {
  const auto session = open(kCrate);
  expectDone(session->convert(DT_FRAGILE));
  expectDone(session->set({{"health", "12"}}));
  expectDone(session->save());
  EXPECT_THAT(documents_->text(kDatabase), HasSubstr("<health>12</health>"));
  EXPECT_EQ(readDatabase(), "<root>\n</root>\n");
}

TEST_F(ADatabaseInMemory, IsReloadedWhenSomebodyElseHasChangedIt) {
  const auto session = open(kCrate);
  expectDone(session->convert(DT_FRAGILE));
  expectDone(session->save());
  std::string changed = documents_->text(kDatabase);
  const auto health = changed.find("<health>");
  changed.replace(health, changed.find("</health>") - health, "<health>77");
  documents_->put(kDatabase, changed);
  passFrame();
  EXPECT_EQ(session->description().fragile->health, 77);
}

}  // namespace
}  // namespace Tal::authoring
