#include <core/display_text.h>
#include <resources/documents/section_document.h>
#include <resources/file_system.h>
#include <resources/report.h>
#include <resources/resource_name.h>
#include <xml/parser.h>
#include <xml/transcoding.h>

#include <utility>

namespace Tal {
namespace {

constexpr int kAttempts = 3;  // to replace a file that other programs touch at the same time
constexpr BasicStringRef kEmptyDocument = "<root></root>\n";

/// The fault of a save that failed.
Fault failedSave(BasicStringRef resourceName, Fault fault, BasicStringRef rest) {
  fault.what = "cannot save " + quotedName(resourceName) + ": " + fault.what + std::string(rest);
  addRemedy(fault, "save again");
  return fault;
}

/// What a step that failed has left in the file's place.
BasicStringRef outcomeOf(const Fault& fault) {
  if (fault.kind == FaultKind::changed) return "";
  return fault.kind == FaultKind::unflushed ? "; the new content may be lost in a power cut"
                                            : "; the old file is whole";
}

struct Parsed {
  xml::Tree tree;
  xml::Encoding encoding = xml::Encoding::utf8;
  std::optional<files::Fingerprint>
      converted;  ///< of the file's bytes, where the encoding may make others of them
};

Result<Parsed> parsedFrom(files::ByteBuffer bytes) {
  const auto encoding = xml::detectEncoding(bytes.view());
  if (!encoding) return encoding.fault();
  std::optional<files::Fingerprint> converted;
  if (*encoding != xml::Encoding::utf8) converted = files::fingerprintOf(bytes.view());
  Result<files::ByteBuffer> utf8 = xml::toUtf8(std::move(bytes), *encoding);
  if (!utf8) return std::move(utf8).fault();
  Result<xml::Tree> tree = xml::parse(*std::move(utf8));
  if (!tree) return std::move(tree).fault();
  return Parsed{*std::move(tree), *encoding, converted};
}

}  // namespace

SectionDocument::SectionDocument(std::shared_ptr<DocumentSource> source, const files::RootedPath& place,
                                 xml::Tree tree, xml::Encoding encoding,
                                 std::optional<files::FileIdentity> identity)
    : source_(std::move(source)), place_(place), tree_(std::move(tree)), encoding_(encoding) {
  noteIdentity(identity);
}

Result<SmartPointer<SectionDocument>> SectionDocument::read(std::shared_ptr<DocumentSource> source,
                                                            const files::RootedPath& place) {
  const auto refused = [&place](Fault fault, BasicStringRef rest, BasicStringRef remedy) {
    fault.file = shownName(place.name.native());
    fault.what += rest;
    fault.remedy = remedy;
    return fault;
  };
  Result<files::FileContent> content = source->read(place, xml::kLargestSource);
  if (!content) {
    Fault fault = std::move(content).fault();
    addRemedy(fault, "open it again");
    return refused(fault, "", fault.remedy);
  }
  Result<Parsed> parsed = parsedFrom(std::move(content->bytes));
  if (!parsed) {
    const std::string& remedy = parsed.fault().remedy;
    return refused(parsed.fault(), "; the file was not loaded", remedy.empty() ? "correct it there" : remedy);
  }
  SmartPointer<SectionDocument> document = new SectionDocument(
      std::move(source), place, std::move(parsed->tree), parsed->encoding, content->identity);
  document->base_ = parsed->converted;
  return document;
}

SmartPointer<SectionDocument> SectionDocument::make(std::shared_ptr<DocumentSource> source,
                                                    const files::RootedPath& place) {
  Result<xml::Tree> tree = xml::parse(files::ByteBuffer::copyOf(kEmptyDocument));
  if (!tree) return nullptr;
  return new SectionDocument(std::move(source), place, *std::move(tree), xml::Encoding::utf8, std::nullopt);
}

void SectionDocument::noteIdentity(const std::optional<files::FileIdentity>& identity) {
  identity_ = identity;
  isRecent_ = identity && files::isRecent(*identity);
}

bool SectionDocument::isCurrent(const files::RootedPath& place, const files::FileIdentity& now) {
  if (place != place_) return false;  // another root's, which comes first now
  if (identity_ == now && !isRecent_) return true;
  return identity_ && identity_->size == now.size && isBaseInFile();
}

bool SectionDocument::isBaseInFile() {
  BasicStringRef rest = base_ ? BasicStringRef() : tree_.source();
  files::FingerprintMaker fingerprint;
  const auto isSame = [&](BasicStringRef piece) {
    if (base_) {
      fingerprint.add(piece);
      return true;
    }
    const bool isNext = rest.starts_with(piece);
    if (isNext) rest.remove_prefix(piece.size());
    return isNext;
  };
  const auto identity = source_->readPieces(place_, isSame);
  if (!identity || !rest.empty()) return false;
  if (base_ && fingerprint.fingerprint() != *base_) return false;
  noteIdentity(*identity);
  return true;
}

std::uint64_t SectionDocument::contentStamp() {
  static std::uint64_t lastStamp = 0;
  if (contentStamp_ != 0 && stampedRevision_ == tree_.revision()) return contentStamp_;
  stampedRevision_ = tree_.revision();
  return contentStamp_ = ++lastStamp;
}

std::shared_ptr<const void> SectionDocument::derived(const AnyDerivation& derivation, xml::NodeIndex node,
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
  if ((base_ ? *base_ : files::fingerprintOf(tree_.source())) != saved.bytes) return;
  stampedRevision_ = tree_.revision();
  contentStamp_ = saved.stamp;
}

Result<void> SectionDocument::write(BasicStringRef resourceName) {
  const bool isOwn = resourceName.empty() || normalisedName(resourceName) == this->resourceName();
  return isOwn ? writeOwn() : writeOther(resourceName);
}

Result<void> SectionDocument::writeOwn() {
  markSavePending();
  Result<void> written = replaceOwn(encoded());
  if (written) return written;
  const BasicStringRef rest = outcomeOf(written.fault());
  return failedSave(resourceName(), std::move(written).fault(), rest);
}

Result<void> SectionDocument::replaceOwn(BasicStringRef bytes) {
  // Else the replacement finds out whether the file is the one that was read.
  bool isToAsk = !identity_ || isRecent_ || (!isFlushPending_ && isBase(bytes));
  Result<void> written;
  for (int attempt = 0; attempt < kAttempts; ++attempt, isToAsk = true) {
    std::optional<files::FileIdentity> version = identity_;
    if (isToAsk) {
      auto found = source_->identity(place_);
      if (!found) return std::move(found).fault();
      version = *found;
    }
    if (version && (version != identity_ || isRecent_))
      if (auto adopted = adoptFile(bytes); !adopted) return adopted;
    if (version) version = identity_;
    if (version && isToAsk && !isFlushPending_ && isBase(bytes)) {
      noteSaved();
      return {};
    }
    auto replaced = source_->replace(place_, bytes, version);
    if (replaced) {
      noteReplaced(bytes, *replaced);
      return std::move(replaced->flushed);
    }
    written = std::move(replaced).fault();
    if (written.fault().kind != FaultKind::changed) break;
  }
  return written;
}

Result<void> SectionDocument::adoptFile(BasicStringRef bytes) {
  Result<files::FileContent> content = source_->read(place_, xml::kLargestSource);
  if (!content) return content.fault();
  const BasicStringRef onDisk = content->bytes.view();
  const bool isOurs = isBase(onDisk) || bytes == onDisk;
  const files::Fingerprint fingerprint = files::fingerprintOf(onDisk);
  constexpr BasicStringRef kForeign = "another program has changed the file since it was read";
  if (!isOurs) {
    if (auto parsed = parsedFrom(std::move(content->bytes)); !parsed) {
      Fault fault = std::move(parsed).fault();
      fault.file = shownName(resourceName());
      return Fault{
          FaultKind::changed,
          std::string(kForeign) + ", and " + placeOf(fault) + ": " + fault.what + "; nothing was written",
          "correct the file"};
    }
  }
  noteIdentity(content->identity);
  base_ = fingerprint;
  if (isOurs) return {};
  return Fault{FaultKind::changed,
               std::string(kForeign) + "; nothing was written, but a second save replaces that change",
               "look at that change"};
}

bool SectionDocument::isBase(BasicStringRef bytes) const {
  if (base_) return bytes.size() == base_->size && files::fingerprintOf(bytes) == *base_;
  return identity_ && bytes == tree_.source();
}

void SectionDocument::noteReplaced(BasicStringRef bytes, const files::Replaced& replaced) {
  noteIdentity(replaced.version);
  base_ = files::fingerprintOf(bytes);
  isFlushPending_ = !replaced.flushed;
  if (replaced.flushed) noteSaved();
}

void SectionDocument::noteSaved() noexcept {
  tree_.noteSaved();
  savedRevision_ = tree_.revision();
  isSavePending_ = false;
}

Result<void> SectionDocument::writeOther(BasicStringRef resourceName) const {
  const FS::MultiFileSystem* const fileSystem = FS::fileSystem();
  if (fileSystem == nullptr) {
    return failedSave(resourceName, {FaultKind::refused, "no resource roots are set up", "set some up"}, "");
  }
  DocumentSource& source = *fileSystem->documents();
  const auto location = source.find(resourceName, true);
  if (!location) return failedSave(resourceName, location.fault(), "");
  const std::string bytes = encoded();
  std::optional<files::FileIdentity> version = location->file;
  if (version) {
    const auto content = source.read(location->place, xml::kLargestSource);
    if (content && bytes == content->bytes.view()) return {};
    if (content) version = content->identity;
  }
  const auto replaced = source.replace(location->place, bytes, version);
  const Result<void> written = replaced ? replaced->flushed : Result<void>(replaced.fault());
  if (written) return written;
  return failedSave(resourceName, written.fault(), outcomeOf(written.fault()));
}

}  // namespace Tal
