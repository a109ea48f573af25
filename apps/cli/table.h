#pragma once

#include <core/display_text.h>

#include <string>
#include <vector>

namespace Tal::cli {

/// Names in one line, with nothing in them that acts on a terminal.
template <class Names>
std::string escapedList(const Names& names, const char* separator) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : separator) + escapeControls(name);
  return text;
}

/// Rows of text in aligned columns. Nothing in a cell acts on a terminal.
class Table {
 public:
  /// `indent` spaces stand before each row.
  explicit Table(int indent) : indent_(indent) {}

  void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

  /// The rows, each with a line end; columns are two spaces apart, the last one is not padded.
  std::string text() const;

 private:
  int indent_;
  std::vector<std::vector<std::string>> rows_;
};

/// Colours parts of a text for a terminal.
class Style {
 public:
  /// Colour only on a terminal, and never when NO_COLOR is set.
  static Style ofStandardOutput();
  static Style ofStandardError();

  explicit Style(bool hasColour) : hasColour_(hasColour) {}

  std::string heading(const std::string& text) const { return in("\x1b[1m", text); }
  std::string warning(const std::string& text) const { return in("\x1b[33m", text); }
  std::string error(const std::string& text) const { return in("\x1b[31m", text); }

 private:
  std::string in(const char* colour, const std::string& text) const {
    return hasColour_ ? colour + text + "\x1b[0m" : text;
  }

  bool hasColour_;
};

}  // namespace Tal::cli
