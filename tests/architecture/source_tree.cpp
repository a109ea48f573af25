#include "source_tree.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace architecture {
namespace {

namespace fs = std::filesystem;

bool isWordCharacter(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

/// Copies a text without its comments, one syntactic piece after the other.
class CommentRemover {
 public:
  explicit CommentRemover(std::string_view text) : rest_(text) {}

  std::string run() {
    while (!rest_.empty()) takePiece();
    return std::move(code_);
  }

 private:
  void takePiece() {
    if (rest_.starts_with("//")) return drop(std::min(rest_.find('\n'), rest_.size()));
    if (rest_.starts_with("/*")) return drop(endBehind("*/", 2));
    if (rest_.starts_with("R\"") && (code_.empty() || !isWordCharacter(code_.back()) || endsWithPrefix()))
      return takeRawString();
    if (rest_.front() == '"') return keep(literalLength('"'));
    if (rest_.front() == '\'' && !isDigitSeparator()) return keep(literalLength('\''));
    keep(1);
  }

  void takeRawString() {
    const std::size_t open = std::min(rest_.find('('), rest_.size() - 1);
    const std::string close = ")" + std::string(rest_.substr(2, open - 2)) + "\"";
    drop(endBehind(close, open));
  }

  /// Whether the code so far ends with an encoding prefix of a raw string.
  bool endsWithPrefix() const {
    const std::size_t word = code_.find_last_not_of("uUL8");
    const std::string prefix = code_.substr(word == std::string::npos ? 0 : word + 1);
    const bool isWholeWord = word == std::string::npos || !isWordCharacter(code_[word]);
    return isWholeWord && (prefix == "u8" || prefix == "u" || prefix == "U" || prefix == "L");
  }

  /// 1'000: between two digits, and not closed as a character literal would be.
  bool isDigitSeparator() const {
    return !code_.empty() && std::isxdigit(static_cast<unsigned char>(code_.back())) != 0 &&
           rest_.size() > 1 && std::isxdigit(static_cast<unsigned char>(rest_[1])) != 0;
  }

  /// How much to take so that `end`, searched from `from` on, is included; everything when it never comes.
  std::size_t endBehind(std::string_view end, std::size_t from) const {
    const std::size_t found = rest_.find(end, from);
    return found == std::string_view::npos ? rest_.size() : found + end.size();
  }

  /// The length of a string or character literal; it ends with its line at the latest.
  std::size_t literalLength(char quote) const {
    for (std::size_t i = 1; i < rest_.size(); ++i) {
      if (rest_[i] == '\\') {
        ++i;
      } else if (rest_[i] == quote) {
        return i + 1;
      } else if (rest_[i] == '\n') {
        return i;
      }
    }
    return rest_.size();
  }

  void keep(std::size_t length) {
    code_ += rest_.substr(0, length);
    rest_.remove_prefix(std::min(length, rest_.size()));
  }

  /// A space and the line ends stand in for what is dropped.
  void drop(std::size_t length) {
    const std::string_view dropped = rest_.substr(0, length);
    code_ += ' ';
    code_.append(static_cast<std::size_t>(std::count(dropped.begin(), dropped.end(), '\n')), '\n');
    rest_.remove_prefix(dropped.size());
  }

  std::string_view rest_;
  std::string code_;
};

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r";
  const std::size_t first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

/// Takes a directive's name off its line: "include", "pragma". Empty when the line is no directive.
std::string_view takeDirective(std::string_view& line) {
  line = trimmed(line);
  if (!line.starts_with('#')) return {};
  line = trimmed(line.substr(1));
  const auto length =
      static_cast<std::size_t>(std::find_if_not(line.begin(), line.end(), isWordCharacter) - line.begin());
  const std::string_view name = line.substr(0, length);
  line = trimmed(line.substr(length));
  return name;
}

Include includeOf(std::string_view operand, int line) {
  const char open = operand.empty() ? ' ' : operand.front();
  const std::size_t close = operand.find(open == '<' ? '>' : '"', 1);
  if ((open != '<' && open != '"') || close == std::string_view::npos)
    return {std::string(operand), false, line};
  return {std::string(operand.substr(1, close - 1)), open == '<', line};
}

std::vector<GlobalCall> globalCallsIn(std::string_view text, int line) {
  constexpr std::string_view kScope = "::";
  std::vector<GlobalCall> calls;
  for (std::size_t at = text.find(kScope); at != std::string_view::npos; at = text.find(kScope, at + 1)) {
    if (at > 0 && (isWordCharacter(text[at - 1]) || text[at - 1] == '>'))
      continue;  // of a class or namespace
    const std::string_view rest = text.substr(at + kScope.size());
    const auto length =
        static_cast<std::size_t>(std::find_if_not(rest.begin(), rest.end(), isWordCharacter) - rest.begin());
    if (rest.substr(length).starts_with('(')) calls.push_back({std::string(rest.substr(0, length)), line});
  }
  return calls;
}

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + file.string());
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

std::string withoutComments(std::string_view text) {
  return CommentRemover(text).run();
}

SourceFile readSource(std::string path, std::string_view content) {
  SourceFile file;
  file.path = std::move(path);
  const std::string code = withoutComments(content);
  std::string_view rest = code;
  for (int line = 1; !rest.empty(); ++line) {
    std::string_view text = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(text.size() + 1, rest.size()));
    for (GlobalCall& call : globalCallsIn(text, line)) file.globalCalls.push_back(std::move(call));
    const std::string_view directive = takeDirective(text);
    if (directive == "include" || directive == "include_next" || directive == "import")
      file.includes.push_back(includeOf(text, line));
    if (directive == "pragma" && text == "once") file.hasPragmaOnce = true;
    file.lineCount = line;
  }
  return file;
}

std::vector<SourceFile> readSources(const fs::path& root, const std::vector<std::string>& folders) {
  std::vector<SourceFile> files;
  for (const std::string& folder : folders) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root / folder)) {
      const std::string path = entry.path().lexically_relative(root).generic_string();
      if (!entry.is_regular_file() || !hasEnding(path, {".h", ".hh", ".hpp", ".hxx", ".inl", ".ipp", ".tpp",
                                                        ".c", ".cc", ".cpp", ".cxx", ".cppm", ".ixx"}))
        continue;
      files.push_back(readSource(path, contentOf(entry.path())));
    }
  }
  std::sort(files.begin(), files.end(),
            [](const SourceFile& a, const SourceFile& b) { return a.path < b.path; });
  return files;
}

bool hasEnding(std::string_view name, const std::vector<std::string_view>& endings) {
  return std::any_of(endings.begin(), endings.end(),
                     [name](std::string_view ending) { return name.ends_with(ending); });
}

}  // namespace architecture
