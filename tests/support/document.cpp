#include <support/document.h>

#include <algorithm>
#include <sstream>
#include <utility>

namespace support {
namespace {

// `block` without the indentation of its first line.
std::string unindented(const std::vector<std::string>& block) {
  std::string text;
  const std::size_t indentation = block.empty() ? 0 : block.front().find_first_not_of(' ');
  for (const std::string& line : block) text += line.substr(std::min(indentation, line.size())) + "\n";
  return text;
}

}  // namespace

std::vector<std::string> blocksBetween(const std::string& text, const std::string& begin,
                                       const std::string& end) {
  std::vector<std::string> blocks;
  std::vector<std::string> block;
  bool isInside = false;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::string content = line.substr(std::min(line.find_first_not_of(' '), line.size()));
    if (!isInside && content == begin) {
      isInside = true;
    } else if (isInside && content == end) {
      isInside = false;
      blocks.push_back(unindented(std::exchange(block, {})));
    } else if (isInside) {
      block.push_back(line);
    }
  }
  return blocks;
}

}  // namespace support
