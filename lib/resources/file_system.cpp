#include <core/display_text.h>
#include <resources/documents/file_documents.h>
#include <resources/documents/section_cache.h>
#include <resources/documents/section_document.h>
#include <resources/documents/xml_section.h>
#include <resources/file_system.h>
#include <resources/monitoring/resource_monitor.h>
#include <resources/report.h>
#include <resources/resource_name.h>

#include <utility>

namespace Tal::FS {
namespace {

namespace fs = std::filesystem;

std::unique_ptr<MultiFileSystem>& current() {
  static std::unique_ptr<MultiFileSystem> fileSystem;
  return fileSystem;
}

}  // namespace

struct MultiFileSystem::State {
  explicit State(ResourceRoots roots)
      : files(std::make_shared<FileDocuments>(std::move(roots))), documents(files) {}

  const ResourceRoots& roots() const { return files->roots(); }

  std::shared_ptr<FileDocuments> files;
  std::shared_ptr<DocumentSource> documents;
  std::unique_ptr<ResourceMonitor> monitor;
};

MultiFileSystem::MultiFileSystem(std::vector<fs::path> roots) {
  auto taken = ResourceRoots::take(std::move(roots));
  if (!taken) reportRefusal(textOf(taken.fault()));
  state_ = std::make_unique<State>(taken ? *std::move(taken) : ResourceRoots());
}

Result<std::unique_ptr<MultiFileSystem>> MultiFileSystem::open(std::vector<fs::path> roots) {
  auto taken = ResourceRoots::take(std::move(roots));
  if (!taken) return std::move(taken).fault();
  auto files = std::make_unique<MultiFileSystem>(std::vector<fs::path>());
  files->state_ = std::make_unique<State>(*std::move(taken));
  return files;
}

MultiFileSystem::~MultiFileSystem() = default;

const std::vector<fs::path>& MultiFileSystem::roots() const noexcept {
  return state_->roots().folders();
}

std::optional<files::RootedPath> MultiFileSystem::firstRoot() const {
  return state_->roots().first();
}

Result<void> MultiFileSystem::checkName(BasicStringRef resourceName) {
  return checkResourceName(resourceName);
}

Result<files::RootedPath> MultiFileSystem::find(BasicStringRef resourceName) const {
  auto location = state_->roots().find(resourceName, false);
  if (!location) return std::move(location).fault();
  return std::move(location->place);
}

bool MultiFileSystem::holdNoFile(BasicStringRef resourceName) const {
  return state_->roots().holdNoFile(resourceName);
}

Result<files::RootedPath> MultiFileSystem::locationFor(BasicStringRef resourceName) const {
  auto location = state_->roots().find(resourceName, true);
  if (!location) return std::move(location).fault();
  return std::move(location->place);
}

const std::shared_ptr<DocumentSource>& MultiFileSystem::documents() const noexcept {
  return state_->documents;
}

void MultiFileSystem::setDocuments(std::shared_ptr<DocumentSource> source) {
  SectionCache::instance().clear();
  state_->documents = source ? std::move(source) : state_->files;
}

MonitorThreadBase* MultiFileSystem::getFilesystemMonitor() {
  if (!state_->monitor) state_->monitor = std::make_unique<ResourceMonitor>(roots());
  return state_->monitor.get();
}

void MultiFileSystem::pump() {
  if (state_->monitor) state_->monitor->pump(state_->documents->takeChanges());
}

MultiFileSystem* fileSystem() noexcept {
  return current().get();
}

void setFileSystem(std::unique_ptr<MultiFileSystem> replacement) {
  SectionCache::instance().clear();
  current() = std::move(replacement);
}

void reportRefused(BasicStringRef resourceName, const Fault& fault) {
  if (fault.kind == FaultKind::missing) return;
  reportRefusal("the resource name " + quotedName(resourceName) + ' ' + textOf(fault));
}

namespace Utils {

SmartPointer<DataSection> openSection(BasicStringRef path, bool create, DataSectionCreator* creator) {
  if (const auto locked = SectionCache::lock(path); !locked) {
    reportFailedSave(locked.fault());
    return nullptr;
  }
  auto section = SectionCache::instance().open(path, create, creator);
  if (section) return *std::move(section);
  SectionCache::instance().report(path, section.fault());
  return nullptr;
}

Result<SmartPointer<DataSection>> openResource(BasicStringRef path) {
  if (auto locked = SectionCache::lock(path); !locked) return std::move(locked).fault();
  return SectionCache::instance().open(path, false, nullptr);
}

Result<SmartPointer<DataSection>> readSection(const files::RootedPath& place) {
  auto document = SectionDocument::read(std::make_shared<FileDocuments>(ResourceRoots()), place);
  if (!document) return std::move(document).fault();
  return SmartPointer<DataSection>(new XmlSection(*document, (*document)->tree().root()));
}

}  // namespace Utils
}  // namespace Tal::FS
