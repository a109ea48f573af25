#pragma once

#include <authoring/session_fixture.h>

#include <string>

namespace Tal::authoring {

/// A database that has the crate as a fragile.
inline std::string database(const std::string& health, const std::string& effect) {
  return "<root>\n\t<fragiles>\n\t\t<entry>\n\t\t\t<filename>content/props/crate.model</"
         "filename>\n\t\t\t<health>" +
         health + "</health>\n\t\t\t<effect>" + effect + "</effect>\n\t\t</entry>\n\t</fragiles>\n</root>\n";
}

class AReload : public SessionTest {
 protected:
  AReload() { writeDatabase(database("5", "smoke")); }

  /// Writes the database as another program does, and waits until the session has heard of it.
  void changeFile(Session& session, const std::string& text) const {
    bool isReloaded = false;
    const ks::Connection connection = session.connectReloaded([&isReloaded] { isReloaded = true; });
    root_.replace(kDatabase, text);
    EXPECT_TRUE(passFramesUntil([&isReloaded] { return isReloaded; }));
  }
};

}  // namespace Tal::authoring
