#include <cli/table.h>
#include <core/utf8.h>

#include <unistd.h>
#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace Tal::cli {
namespace {

// The characters of a text in UTF-8, not its bytes.
std::size_t widthOf(const std::string& text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char byte) { return !isContinuationByte(byte); }));
}

bool isSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

std::string Table::text() const {
  std::vector<std::size_t> widths;
  for (const auto& row : rows_) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t column = 0; column < row.size(); ++column)
      widths[column] = std::max(widths[column], widthOf(row[column]));
  }
  std::string text;
  for (const auto& row : rows_) {
    std::string line(static_cast<std::size_t>(indent_), ' ');
    for (std::size_t column = 0; column < row.size(); ++column) {
      line += row[column];
      if (column + 1 < row.size()) line.append(widths[column] - widthOf(row[column]) + 2, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
  }
  return text;
}

Style Style::ofStandardOutput() {
  return Style(::isatty(STDOUT_FILENO) == 1 && !isSet("NO_COLOR"));
}

Style Style::ofStandardError() {
  return Style(::isatty(STDERR_FILENO) == 1 && !isSet("NO_COLOR"));
}

}  // namespace Tal::cli
