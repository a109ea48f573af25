#pragma once

#include <core/smart_pointer.h>
#include <scene/client_space.h>

#include <map>

namespace Tal {

/// The open spaces of the process, by their identifiers. Main thread only.
class SpaceManager {
 public:
  /// The process's manager; it lives until the process ends.
  static SpaceManager& instance();

  /// The space; null when there is none. Whoever keeps it takes a reference.
  ClientSpace* space(int id) const;

  /// Makes an empty space, in place of the one of that identifier. The reference is valid until it is removed
  /// or replaced.
  ClientSpace& createSpace(int id);

  /// Forgets a space, which lives on as long as somebody holds it. Nothing happens when there is none.
  void removeSpace(int id);

 private:
  std::map<int, SmartPointer<ClientSpace>> spaces_;
};

}  // namespace Tal
