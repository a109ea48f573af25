#pragma once

#include <resources/file_system.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// Ends the process with the text, so that the fuzzer keeps the input, when a promise does not hold.
void require(bool isKept, std::string_view promise);

/// The same for two texts that have to be equal; shows both when they are not.
void requireEqual(std::string_view actual, std::string_view expected, std::string_view promise);

/// Notes what is under way, to be shown when a promise does not hold.
void note(std::string what);

/// The characters that XML counts as white space.
constexpr std::string_view kSpace = " \t\r\n";

/// `text` without any white space.
std::string withoutSpace(std::string_view text);

/// What an input says, split at the lines that begin with "#fuzz ": the document in front of the first, and
/// then the rest of each of those lines with the bytes up to the next.
struct Input {
  struct Part {
    std::string_view name;
    std::string_view bytes;
  };

  explicit Input(std::string_view text);

  /// The bytes of the first part of that name; empty when there is none.
  std::string_view part(std::string_view name) const;

  std::string_view document;
  std::vector<Part> parts;
};

/// Lets the fuzzer change the bytes of an input anyhow; with `isDocumentKept` only those behind its document,
/// if there are any. Returns the new size.
std::size_t mutateBytes(std::uint8_t* data, std::size_t size, std::size_t maxSize, bool isDocumentKept);

/// Decisions drawn from bytes, one after the other; everything is the first choice when they are used up.
class Choices {
 public:
  explicit Choices(std::string_view bytes) : rest_(bytes) {}

  bool areLeft() const noexcept { return !rest_.empty(); }

  /// A number below `end`, which is at most 256.
  std::size_t below(std::size_t end);
  std::uint32_t number();

  /// The text up to the next '|'.
  std::string text();

 private:
  std::string_view rest_;
};

/// A folder of this process alone in the system's temporary one, removed when the process ends well. It is
/// the process's only resource root.
class Root {
 public:
  static Root& instance();
  ~Root();
  Root(const Root&) = delete;
  Root& operator=(const Root&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }

  /// Takes everything out of the folder, and every document out of the cache.
  void clear() const;

  void write(const std::filesystem::path& name, std::string_view content) const;
  std::string read(const std::filesystem::path& name) const;

  /// Every file and folder below, relative, sorted, a file with its content.
  std::string listing() const;

 private:
  Root();

  std::filesystem::path path_;
};

/// Receives the messages of the rooms, which hostile input calls forth without end.
class Messages {
 public:
  Messages();
  ~Messages();
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  const std::vector<std::string>& texts() const noexcept { return texts_; }
  int criticalCount() const noexcept { return criticalCount_; }
  void clear();

 private:
  std::vector<std::string> texts_;
  int criticalCount_ = 0;
};

}  // namespace fuzz
