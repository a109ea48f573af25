#pragma once

#include <destructibles/ks_destructibles_helper.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Tal {

/// @name Records as the words KEY=VALUE, in case files and in what they expect
/// @{

/// The fields of a record by their keys in the database.
template <class Record>
using Fields =
    std::map<std::string, std::variant<std::int32_t Record::*, float Record::*, std::string Record::*>>;

inline const Fields<KsDestructibleModuleDesc>& fieldsOf(const KsDestructibleModuleDesc&) {
  using Module = KsDestructibleModuleDesc;
  static const Fields<Module> s_fields = {
      {"health", &Module::health},       {"effectScale", &Module::effectScale},
      {"effectHP", &Module::effectHP},   {"ramEffect", &Module::ramEffect},
      {"hitEffect", &Module::hitEffect}, {"decayEffect", &Module::decayEffect}};
  return s_fields;
}

inline const Fields<KsDestructibleFragileDesc>& fieldsOf(const KsDestructibleFragileDesc&) {
  using Fragile = KsDestructibleFragileDesc;
  static const Fields<Fragile> s_fields = {{"health", &Fragile::health},
                                           {"effectScale", &Fragile::effectScale},
                                           {"effectHP", &Fragile::effectHP},
                                           {"achievementTag", &Fragile::achievementTag},
                                           {"matName", &Fragile::matName},
                                           {"effect", &Fragile::effect},
                                           {"hitEffect", &Fragile::hitEffect},
                                           {"decayEffect", &Fragile::decayEffect},
                                           {"lifetimeEffect", &Fragile::lifetimeEffect}};
  return s_fields;
}

inline const Fields<KsDestructibleFallingAtomDesc>& fieldsOf(const KsDestructibleFallingAtomDesc&) {
  using FallingAtom = KsDestructibleFallingAtomDesc;
  static const Fields<FallingAtom> s_fields = {{"health", &FallingAtom::health},
                                               {"effectScale", &FallingAtom::effectScale},
                                               {"physicParams", &FallingAtom::physicParams},
                                               {"achievementTag", &FallingAtom::achievementTag},
                                               {"lifetimeEffect", &FallingAtom::lifetimeEffect},
                                               {"fractureEffect", &FallingAtom::fractureEffect},
                                               {"touchdownEffect", &FallingAtom::touchdownEffect},
                                               {"touchdownBreakEffect", &FallingAtom::touchdownBreakEffect}};
  return s_fields;
}

/// The text, in quotes when it is empty or holds a space or a quote.
inline std::string quotedIfNeeded(const std::string& text) {
  if (!text.empty() && text.find_first_of(" \"\\") == std::string::npos) return text;
  std::ostringstream out;
  out << std::quoted(text);
  return out.str();
}

inline std::string textOf(const std::string& value) {
  return value.find_first_of(" \"\\") == std::string::npos ? value : quotedIfNeeded(value);
}
inline std::string textOf(std::int32_t value) {
  return std::to_string(value);
}
/// The shortest text that reads back equal.
inline std::string textOf(float value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof(text), value).ptr};
}

inline void parse(const std::string& text, std::string& value) {
  value = text;
}
inline void parse(const std::string& text, float& number) {
  char* end = nullptr;
  number = std::strtof(text.c_str(), &end);
  if (text.empty() || *end != '\0') throw std::invalid_argument("no number: " + text);
}
template <class Integer>
void parse(const std::string& text, Integer& number) {
  const char* const end = text.data() + text.size();
  if (text.empty() || std::from_chars(text.data(), end, number).ptr != end)
    throw std::invalid_argument("no number: " + text);
}

inline std::pair<std::string, std::string> keyAndValue(const std::string& word) {
  const auto sign = word.rfind('=');
  if (sign == std::string::npos) throw std::invalid_argument("no value: " + word);
  return {word.substr(0, sign), word.substr(sign + 1)};
}

/// Sets fields from words; the word "new" gives all of them their defaults.
template <class Record>
void edit(Record& record, const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    if (word == "new") {
      record = Record();
      continue;
    }
    const auto [key, value] = keyAndValue(word);
    const auto field = fieldsOf(record).find(key);
    if (field == fieldsOf(record).end()) throw std::invalid_argument("unknown key " + key);
    std::visit([&, &text = value](auto member) { parse(text, record.*member); }, field->second);
  }
}

/// Every field of a record, in the order of the keys, behind a space each.
template <class Record>
std::string wordsOf(const Record& record) {
  std::string text;
  for (const auto& [key, field] : fieldsOf(record))
    text += std::visit([&, &name = key](auto member) { return ' ' + name + '=' + textOf(record.*member); },
                       field);
  return text;
}

/// @}

}  // namespace Tal
