#pragma once

#include <destructibles/test_access.h>

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace Tal {

/// @name The records and tables as text, for comparing them
/// @{

inline void describe(const KsDestructibleModuleDesc& desc, std::ostream& out) {
  out << desc.health << ' ' << desc.effectScale << " [" << desc.effectHP << "] [" << desc.ramEffect << "] ["
      << desc.hitEffect << "] [" << desc.decayEffect << "]\n";
}

inline void describe(const KsDestructibleFragileDesc& desc, std::ostream& out) {
  out << desc.health << ' ' << desc.effectScale << " [" << desc.effectHP << "] [" << desc.achievementTag
      << "] [" << desc.matName << "] [" << desc.effect << "] [" << desc.hitEffect << "] [" << desc.decayEffect
      << "] [" << desc.lifetimeEffect << "]\n";
}

inline void describe(const KsDestructibleFallingAtomDesc& desc, std::ostream& out) {
  out << desc.health << ' ' << desc.effectScale << " [" << desc.physicParams << "] [" << desc.achievementTag
      << "] [" << desc.lifetimeEffect << "] [" << desc.fractureEffect << "] [" << desc.touchdownEffect
      << "] [" << desc.touchdownBreakEffect << "]\n";
}

inline void describe(const std::vector<std::string>& names, std::ostream& out) {
  for (const std::string& name : names) out << " [" << name << ']';
  out << '\n';
}

/// Everything in the class-wide tables.
inline void describeTables(std::ostream& out) {
  for (const auto& [model, record] : KsDestructiblesHelperTestAccess::states()) {
    out << "  states of " << model << '\n';
    for (const auto& [state, materials] : record.states) {
      out << "    " << state << ':';
      describe(materials, out);
    }
  }
  for (const auto& [model, modules] : KsDestructiblesHelperTestAccess::modules()) {
    out << "  modules of " << model << '\n';
    for (const auto& [name, desc] : modules) {
      out << "    " << name << ' ';
      describe(desc, out);
    }
  }
  for (const auto& [model, desc] : KsDestructiblesHelperTestAccess::fragiles()) {
    out << "  fragile " << model << ' ';
    describe(desc, out);
  }
  for (const auto& [model, desc] : KsDestructiblesHelperTestAccess::fallingAtoms()) {
    out << "  falling atom " << model << ' ';
    describe(desc, out);
  }
  out << "  loaded " << KsDestructiblesHelperTestAccess::hasLoaded() << '\n';
}

inline std::string textOfTables() {
  std::ostringstream out;
  describeTables(out);
  return out.str();
}

/// @}

}  // namespace Tal
