#include <core/debug_message.h>
#include <core/display_text.h>
#include <resources/documents/section_document.h>
#include <resources/file_system.h>
#include <resources/files/atomic_file.h>
#include <resources/files/file_read.h>
#include <resources/report.h>
#include <resources/resource_name.h>
#include <resources/xml/parser.h>
#include <resources/xml/transcoding.h>

#include <utility>

namespace Tal {
namespace {

constexpr int kAttempts = 3;  // to replace a file that other programs touch at the same time
constexpr BasicStringRef kEmptyDocument = "<root></root>\n";

std::string placeOf(const std::string& resourceName, const Xml::ParseError& error) {
  if (error.line == 0) return resourceName;
  return resourceName + ':' + std::to_string(error.line) + ':' + std::to_string(error.column);
}

void reportFailedSave(const std::string& resourceName, const std::string& reason) {
  DebugMessageHelper::criticalMessage("lib/resources/documents/section_document", __LINE__,
                                      "cannot save %s: %s", quotedName(resourceName).c_str(), reason.c_str());
}

std::string reasonOf(const FileFailure& failure) {
  if (failure.isChanged) return failure.text;
  return failure.text +
         (failure.isReplaced ? "; the new content may be lost in a power cut" : "; the old file is whole");
}

std::string adviceOf(const FileFailure& failure) {
  return ": " + failure.hint + " and save again";
}

struct Parsed {
  Xml::Tree tree;
  Xml::Encoding encoding = Xml::Encoding::utf8;
  std::optional<Fingerprint> converted;  ///< of the file's bytes, where the encoding may make others of them
};

std::optional<Parsed> parsedFrom(ByteBuffer bytes, Xml::ParseError& error) {
  const auto encoding = Xml::detectEncoding(bytes.view(), error);
  if (!encoding) return std::nullopt;
  std::optional<Fingerprint> converted;
  if (*encoding != Xml::Encoding::utf8) converted = fingerprintOf(PiecedText(bytes.view()));
  std::optional<ByteBuffer> utf8 = Xml::toUtf8(std::move(bytes), *encoding, error);
  if (!utf8) return std::nullopt;
  std::optional<Xml::Tree> tree = Xml::parse(*std::move(utf8), error);
  if (!tree) return std::nullopt;
  return Parsed{*std::move(tree), *encoding, converted};
}

}  // namespace

/// What a file holds or is to hold. What it was made from must stay as it is meanwhile.
class SectionDocument::Bytes {
 public:
  explicit Bytes(const FileContent& file) : text_(file.bytes.view()) {}

  /// What the document's own file is to hold.
  explicit Bytes(const SectionDocument& document)
      : text_(document.tree_.pieces()), converted_(Xml::fromUtf8(text_, document.encoding_)) {
    if (converted_) text_ = PiecedText(converted_->view());
  }
  Bytes(const Bytes&) = delete;
  Bytes& operator=(const Bytes&) = delete;

  const PiecedText& text() const noexcept { return text_; }

  /// Computed once.
  const Fingerprint& fingerprint() const {
    if (!fingerprint_) fingerprint_ = fingerprintOf(text_);
    return *fingerprint_;
  }

 private:
  PiecedText text_;
  std::optional<ByteBuffer> converted_;  ///< what the text is made of, when that is not the tree
  mutable std::optional<Fingerprint> fingerprint_;
};

SectionDocument::SectionDocument(const RootedPath& place, Xml::Tree tree, Xml::Encoding encoding,
                                 std::optional<FileIdentity> identity)
    : place_(place), tree_(std::move(tree)), encoding_(encoding) {
  noteIdentity(identity);
}

SmartPointer<SectionDocument> SectionDocument::read(const RootedPath& place, Refusal& refusal) {
  const std::string name = shownName(place.name.native());
  FileContent content;
  if (const auto failure = readFile(place.path(), Xml::kLargestSource, content)) {
    refusal = {name + ": " + failure->text + "; " + failure->hint + " and open it again", false};
    return nullptr;
  }
  Xml::ParseError error;
  std::optional<Parsed> parsed = parsedFrom(std::move(content.bytes), error);
  if (!parsed) {
    refusal = {placeOf(name, error) + ": " + error.reason + "; the file was not loaded: correct it there",
               true};
    return nullptr;
  }
  SmartPointer<SectionDocument> document =
      new SectionDocument(place, std::move(parsed->tree), parsed->encoding, content.identity);
  document->base_ = parsed->converted;
  return document;
}

SmartPointer<SectionDocument> SectionDocument::make(const RootedPath& place) {
  Xml::ParseError error;
  std::optional<Xml::Tree> tree = Xml::parse(ByteBuffer::copyOf(kEmptyDocument), error);
  if (!tree) return nullptr;
  return new SectionDocument(place, std::move(*tree), Xml::Encoding::utf8, std::nullopt);
}

void SectionDocument::noteIdentity(const std::optional<FileIdentity>& identity) {
  identity_ = identity;
  isRecent_ = identity && isRecent(*identity);
}

bool SectionDocument::isCurrent(const RootedPath& place, const FileIdentity& now) {
  if (place != place_) return false;  // another root's, which comes first now
  if (identity_ == now && !isRecent_) return true;
  return identity_ && identity_->size == now.size && isBaseInFile();
}

bool SectionDocument::isBaseInFile() {
  BasicStringRef rest = base_ ? BasicStringRef() : tree_.source();
  FingerprintMaker fingerprint;
  const auto isSame = [&](BasicStringRef piece) {
    if (base_) {
      fingerprint.add(piece);
      return true;
    }
    const bool isNext = rest.starts_with(piece);
    if (isNext) rest.remove_prefix(piece.size());
    return isNext;
  };
  FileIdentity identity;
  if (!readPieces(place_.path(), isSame, identity) || !rest.empty()) return false;
  if (base_ && fingerprint.fingerprint() != *base_) return false;
  noteIdentity(identity);
  return true;
}

std::uint64_t SectionDocument::contentStamp() {
  static std::uint64_t lastStamp = 0;
  if (contentStamp_ != 0 && stampedRevision_ == tree_.revision()) return contentStamp_;
  stampedRevision_ = tree_.revision();
  return contentStamp_ = ++lastStamp;
}

std::shared_ptr<const void> SectionDocument::derived(const AnyDerivation& derivation, Xml::NodeIndex node,
                                                     const DataSection& section) {
  const std::uint64_t revision = tree_.revision();
  if (!derived_) derived_ = std::make_shared<DerivedValues>();
  if (derivedRevision_ != revision) derived_->clear();
  derivedRevision_ = revision;
  const auto known = derived_->find({&derivation, node});
  if (known != derived_->end()) return known->second;
  const SmartPointer<SectionDocument> inUse = this;  // whatever the function lets go of
  std::shared_ptr<const void> value = derivation.valueOf(section);
  if (tree_.revision() != revision) return value;  // the function has edited what it read
  derivation.noteKeeper(derived_);
  derived_->emplace(std::pair(&derivation, node), value);
  return value;
}

std::optional<SectionDocument::SavedContent> SectionDocument::savedContent() {
  if (isEdited() || isSavePending() || !base_) return std::nullopt;
  return SavedContent{*base_, contentStamp()};
}

void SectionDocument::recognise(const SavedContent& saved) {
  if ((base_ ? base_->size : tree_.source().size()) != saved.bytes.size) return;
  if ((base_ ? *base_ : fingerprintOf(PiecedText(tree_.source()))) != saved.bytes) return;
  stampedRevision_ = tree_.revision();
  contentStamp_ = saved.stamp;
}

bool SectionDocument::write(BasicStringRef resourceName) {
  const bool isOwn = resourceName.empty() || normalisedName(resourceName) == this->resourceName();
  return isOwn ? writeOwn() : writeOther(resourceName);
}

bool SectionDocument::writeOwn() {
  markSavePending();
  // Opened once: a link that is put there meanwhile leads nowhere else.
  OpenPlace place;
  if (const auto failure = place.open(place_)) {
    reportFailedSave(resourceName(), reasonOf(*failure) + "; the edits are kept" + adviceOf(*failure));
    return false;
  }
  return writeOwnAt(place);
}

bool SectionDocument::writeOwnAt(const OpenPlace& place) {
  const Bytes bytes(*this);
  std::optional<FileFailure> failure;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    std::optional<FileIdentity> version = place.identity();
    if (version) {
      if ((version != identity_ || isRecent_) && !adoptFile(place, bytes)) return false;
      if (!isFlushPending_ && isBase(bytes)) {
        noteSaved();
        return true;
      }
      version = identity_;
    }
    failure = replaceVersion(place, bytes.text(), version);
    noteReplaced(place, bytes, failure, version);
    if (!failure) return true;
    if (!failure->isChanged) break;
  }
  reportFailedSave(resourceName(), reasonOf(*failure) + "; the edits are kept" + adviceOf(*failure));
  return false;
}

bool SectionDocument::adoptFile(const OpenPlace& place, const Bytes& bytes) {
  FileContent content;
  if (const auto failure = readFile(place, Xml::kLargestSource, content)) {
    reportFailedSave(resourceName(), failure->text + "; the edits are kept" + adviceOf(*failure));
    return false;
  }
  const Bytes onDisk(content);
  const bool isOurs = isBase(onDisk) || bytes.text() == content.bytes.view();
  const Fingerprint fingerprint = onDisk.fingerprint();
  if (!isOurs) {
    Xml::ParseError error;
    if (!parsedFrom(std::move(content.bytes), error)) {
      reportFailedSave(resourceName(), "another program has changed the file since it was read, and " +
                                           placeOf(shownName(resourceName()), error) + ": " + error.reason +
                                           "; nothing was written and the edits are kept: correct the file "
                                           "and save again");
      return false;
    }
  }
  noteIdentity(content.identity);
  base_ = fingerprint;
  if (isOurs) return true;
  reportFailedSave(
      resourceName(),
      "another program has changed the file since it was read; nothing was written and the edits "
      "are kept: save again to put them in the place of that change");
  return false;
}

bool SectionDocument::isBase(const Bytes& bytes) const {
  if (base_) return bytes.text().size() == base_->size && bytes.fingerprint() == *base_;
  return identity_ && bytes.text() == tree_.source();
}

void SectionDocument::noteReplaced(const OpenPlace& place, const Bytes& bytes,
                                   const std::optional<FileFailure>& failure,
                                   const std::optional<FileIdentity>& version) {
  if (failure && !failure->isReplaced) return;
  noteIdentity(failure ? place.identity() : version);
  base_ = bytes.fingerprint();
  isFlushPending_ = failure.has_value();
  if (!failure) noteSaved();
}

void SectionDocument::noteSaved() noexcept {
  tree_.noteSaved();
  savedRevision_ = tree_.revision();
  isSavePending_ = false;
}

bool SectionDocument::writeOther(BasicStringRef resourceName) const {
  const FS::MultiFileSystem* const fileSystem = FS::fileSystem();
  const auto rooted = fileSystem == nullptr ? std::nullopt : fileSystem->locationFor(resourceName);
  if (!rooted) {
    reportFailedSave(std::string(resourceName),
                     "it has no place below the resource roots; give another name");
    return false;
  }
  OpenPlace place;
  std::optional<FileFailure> failure = place.open(*rooted);
  if (!failure) {
    const Bytes bytes(*this);
    FileContent content;
    const bool isThere = place.identity() && !readFile(place, Xml::kLargestSource, content);
    if (isThere && bytes.text() == content.bytes.view()) return true;
    failure = replaceFile(place, bytes.text());
    if (!failure) return true;
  }
  reportFailedSave(std::string(resourceName), reasonOf(*failure) + adviceOf(*failure));
  return false;
}

}  // namespace Tal
