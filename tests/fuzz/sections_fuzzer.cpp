// A document and edits of it: what is saved keeps every byte that no edit touched, and reads as it was
// edited.
//
// The input is the document, and behind the line "#fuzz edits" the choices of the edits. The lines
// "#fuzz utf-16le" and "#fuzz utf-16be" store the document in that encoding.

#include <fuzz/fuzz_support.h>
#include <fuzz/section_editor.h>
#include <fuzz/section_model.h>
#include <fuzz/xml_mutation.h>
#include <resources/data_section.h>
#include <resources/data_section_cache.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

using fuzz::require;
using fuzz::requireEqual;
using fuzz::Root;
using Tal::DataSection;
using Tal::SmartPointer;

constexpr char kFile[] = "document.xml";
constexpr char kCopy[] = "copy.xml";
constexpr int kMostEdits = 24;

SmartPointer<DataSection> open() {
  return Tal::FS::Utils::openSection(kFile, false, nullptr);
}

std::string copyOf(DataSection& root) {
  require(root.save(kCopy), "a document can be written to another resource");
  return Root::instance().read(kCopy);
}

/// Makes the edits and saves.
void editAndSave(const SmartPointer<DataSection>& root, fuzz::Choices choices, const std::string& original) {
  fuzz::SectionEditor editor(root, original);
  for (int i = 0; i < kMostEdits && choices.areLeft(); ++i) editor.editAnything(choices);
  editor.requireAllReads();
  require(root->save(), "a document can be saved");
  requireEqual(Root::instance().read(kFile), editor.bytes(), "the file is the document as it stands");
  require(root->save(), "a document can be saved twice");
  requireEqual(Root::instance().read(kFile), editor.bytes(), "saving twice equals saving once");
}

/// What the file says when it is read anew.
void requireFileReads(const std::string& outline) {
  Tal::DataSectionCache::clear();
  const SmartPointer<DataSection> again = open();
  require(again.get() != nullptr, "what was saved can be read");
  requireEqual(fuzz::outlineOf(*again), outline, "what was saved reads as it was edited");
  requireEqual(copyOf(*again), Root::instance().read(kFile),
               "a document without edits is written as it was read");
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  return fuzz::mutateXml(data, size, maxSize, seed);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Messages messages;
  const fuzz::Input input(std::string_view(reinterpret_cast<const char*>(data), size));
  const std::string original = fuzz::storedXml(input);
  Root::instance().clear();
  Root::instance().write(kFile, original);
  const SmartPointer<DataSection> root = open();
  requireEqual(Root::instance().read(kFile), original, "reading does not touch the file");
  if (!root) {
    require(messages.texts().size() == 1, "a document that is refused is reported once");
    require(!open(), "a document that was refused stays so");
    return 0;
  }
  requireEqual(copyOf(*root), original, "a document without edits is written as it was read");
  editAndSave(root, fuzz::Choices(input.part("edits")), original);
  requireFileReads(fuzz::outlineOf(*root));
  return 0;
}
