#pragma once

#include <core/smart_pointer.h>
#include <scene/client_space.h>

#include <map>

namespace Tal {

/// The open spaces of the process, by their identifiers. Main thread only.
class SpaceManager {
 public:
  static SpaceManager& instance();

  /// The space; null when there is none. Whoever keeps it takes a reference.
  ClientSpace* space(int id) const;

  /// Opens an empty space, in place of the one of that identifier.
  ClientSpace& createSpace(int id);

  /// Closes a space, which lives on as long as somebody holds it.
  void removeSpace(int id);

 private:
  std::map<int, SmartPointer<ClientSpace>> spaces_;
};

}  // namespace Tal
