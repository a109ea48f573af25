#include <core/debug_message.h>
#include <fuzz/fuzz_support.h>
#include <resources/data_section_cache.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>
#include <utility>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace fuzz {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kPartMark = "#fuzz ";

std::string& noted() {
  static std::string text;
  return text;
}

[[noreturn]] void fail(std::string text) {
  text = noted() + '\n' + text + '\n';
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::abort();
}

/// The place of the next mark at the beginning of a line; npos when there is none.
std::size_t nextMark(std::string_view text) {
  if (text.starts_with(kPartMark)) return 0;
  const std::size_t found = text.find("\n#fuzz ");
  return found == std::string_view::npos ? found : found + 1;
}

/// Takes off everything in front of the next mark, without the line end that the mark needs.
std::string_view takeBytes(std::string_view& text) {
  const std::size_t mark = std::min(nextMark(text), text.size());
  std::string_view bytes = text.substr(0, mark);
  if (mark < text.size() && bytes.ends_with('\n')) bytes.remove_suffix(1);
  text.remove_prefix(mark);
  return bytes;
}

}  // namespace

void require(bool isKept, std::string_view promise) {
  if (!isKept) fail("a promise does not hold: " + std::string(promise));
}

void requireEqual(std::string_view actual, std::string_view expected, std::string_view promise) {
  if (actual == expected) return;
  fail("a promise does not hold: " + std::string(promise) + "\n--- it is\n" + std::string(actual) +
       "\n--- instead of\n" + std::string(expected) + "\n---");
}

void note(std::string what) {
  noted() = std::move(what);
}

std::string withoutSpace(std::string_view text) {
  std::string rest;
  std::copy_if(text.begin(), text.end(), std::back_inserter(rest),
               [](char c) { return kSpace.find(c) == std::string_view::npos; });
  return rest;
}

Input::Input(std::string_view text) : document(takeBytes(text)) {
  while (!text.empty()) {
    text.remove_prefix(kPartMark.size());
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    parts.push_back({line, takeBytes(text)});
  }
}

std::string_view Input::part(std::string_view name) const {
  const auto found =
      std::find_if(parts.begin(), parts.end(), [name](const Part& part) { return part.name == name; });
  return found == parts.end() ? std::string_view() : found->bytes;
}

std::size_t mutateBytes(std::uint8_t* data, std::size_t size, std::size_t maxSize, bool isDocumentKept) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::size_t kept = isDocumentKept ? Input(text).document.size() : 0;
  if (kept == size) return LLVMFuzzerMutate(data, size, maxSize);
  return kept + LLVMFuzzerMutate(data + kept, size - kept, maxSize - kept);
}

std::size_t Choices::below(std::size_t end) {
  if (rest_.empty() || end == 0) return 0;
  const auto byte = static_cast<unsigned char>(rest_.front());
  rest_.remove_prefix(1);
  return byte % end;
}

std::uint32_t Choices::number() {
  std::uint32_t number = 0;
  for (int i = 0; i < 4; ++i) number = number << 8U | static_cast<std::uint32_t>(below(256));
  return number;
}

std::string Choices::text() {
  const std::string_view text = rest_.substr(0, rest_.find('|'));
  rest_.remove_prefix(std::min(text.size() + 1, rest_.size()));
  return std::string(text);
}

Root& Root::instance() {
  static Root root;
  return root;
}

Root::Root() {
  std::string name = (fs::canonical(fs::temp_directory_path()) / "destructibles-fuzz-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) fail("cannot make the folder " + name);
  path_ = name;
  Tal::FS::setFileSystem(std::make_unique<Tal::FS::MultiFileSystem>(std::vector<fs::path>{path_}));
}

Root::~Root() {
  Tal::FS::setFileSystem(nullptr);
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

void Root::clear() const {
  Tal::DataSectionCache::clear();
  for (const fs::directory_entry& entry : fs::directory_iterator(path_)) fs::remove_all(entry.path());
}

void Root::write(const fs::path& name, std::string_view content) const {
  fs::create_directories((path_ / name).parent_path());
  std::ofstream stream(path_ / name, std::ios::binary | std::ios::trunc);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream.good()) fail("cannot write " + (path_ / name).string());
}

std::string Root::read(const fs::path& name) const {
  std::ifstream stream(path_ / name, std::ios::binary);
  if (!stream.is_open()) fail("cannot read " + (path_ / name).string());
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string Root::listing() const {
  std::vector<fs::path> names;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path_))
    names.push_back(entry.path().lexically_relative(path_));
  std::sort(names.begin(), names.end());
  std::string listing;
  for (const fs::path& name : names) {
    listing += name.generic_string() + '\n';
    if (fs::is_regular_file(path_ / name)) listing += read(name) + '\n';
  }
  return listing;
}

Messages::Messages() {
  Tal::DebugMessageHelper::setSink([this](const Tal::DebugMessage& message) {
    texts_.push_back(message.text);
    if (message.isCritical) ++criticalCount_;
  });
}

Messages::~Messages() {
  Tal::DebugMessageHelper::setSink({});
}

void Messages::clear() {
  texts_.clear();
  criticalCount_ = 0;
}

}  // namespace fuzz
