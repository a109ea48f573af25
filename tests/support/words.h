#pragma once

#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace support {

/// The words of a command, taken one after the other. Words in quotes may hold spaces.
class Words {
 public:
  Words() = default;
  explicit Words(const std::string& line) : words_(line) {}

  /// The next word. Throws when there is none.
  std::string take() {
    std::string word;
    if (!(words_ >> std::quoted(word))) throw std::invalid_argument("a word is missing");
    return word;
  }

  bool areLeft() { return !(words_ >> std::ws).eof(); }

  std::vector<std::string> takeAll() {
    std::vector<std::string> words;
    while (areLeft()) words.push_back(take());
    return words;
  }

  /// All that is left, as it stands.
  std::string takeRest() {
    std::string rest;
    if (areLeft()) std::getline(words_, rest);
    return rest;
  }

  /// Takes the next word if it is that one.
  bool takeIf(const std::string& word) {
    if (!areLeft()) return false;
    const auto place = words_.tellg();
    if (take() == word) return true;
    words_.clear();
    words_.seekg(place);
    return false;
  }

 private:
  std::istringstream words_;
};

}  // namespace support
