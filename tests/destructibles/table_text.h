#pragma once

#include <destructibles/record_text.h>
#include <destructibles/test_access.h>

#include <string>
#include <vector>

namespace Tal {

/// @name The class-wide tables as text, for comparing them
/// @{

/// The names, a space between them.
inline std::string textOf(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : " ") + quotedIfNeeded(name);
  return text;
}

inline std::string textOfStates() {
  std::string text;
  for (const auto& [model, record] : KsDestructiblesHelperTestAccess::states()) {
    text += "states of " + quotedIfNeeded(model) + ':';
    for (const auto& [state, materials] : record.states)
      text += ' ' + quotedIfNeeded(state) + '[' + textOf(materials) + ']';
    text += '\n';
  }
  return text;
}

/// The names of what the tables hold.
inline std::string namesInTables() {
  std::string text = textOfStates();
  for (const auto& [model, modules] : KsDestructiblesHelperTestAccess::modules()) {
    text += "modules of " + quotedIfNeeded(model) + ':';
    for (const auto& module : modules) text += ' ' + quotedIfNeeded(module.first);
    text += '\n';
  }
  for (const auto& each : KsDestructiblesHelperTestAccess::fragiles())
    text += "fragile " + quotedIfNeeded(each.first) + '\n';
  for (const auto& each : KsDestructiblesHelperTestAccess::fallingAtoms())
    text += "falling atom " + quotedIfNeeded(each.first) + '\n';
  return text.empty() ? "empty\n" : text;
}

/// All that the tables hold.
inline std::string textOfTables() {
  std::string text = textOfStates();
  for (const auto& [model, modules] : KsDestructiblesHelperTestAccess::modules()) {
    text += "modules of " + quotedIfNeeded(model) + (modules.empty() ? ": none\n" : ":\n");
    for (const auto& [name, desc] : modules) text += "  " + quotedIfNeeded(name) + wordsOf(desc) + '\n';
  }
  for (const auto& [model, desc] : KsDestructiblesHelperTestAccess::fragiles())
    text += "fragile " + quotedIfNeeded(model) + wordsOf(desc) + '\n';
  for (const auto& [model, desc] : KsDestructiblesHelperTestAccess::fallingAtoms())
    text += "falling atom " + quotedIfNeeded(model) + wordsOf(desc) + '\n';
  return text.empty() ? "empty\n" : text;
}

/// @}

}  // namespace Tal
