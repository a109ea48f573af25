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

  /// The space; null when there is none. Take a reference to keep it.
  ClientSpace* space(int id) const;

  /// Makes an empty space and replaces the one of that identifier. The reference is valid until the space is
  /// replaced or removed.
  ClientSpace& createSpace(int id);

  /// Removes a space, if there is one; it lives as long as somebody holds a reference.
  void removeSpace(int id);

 private:
  std::map<int, SmartPointer<ClientSpace>> spaces_;
};

}  // namespace Tal
