#pragma once

#include <support/temporary_folder.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace support {

inline constexpr const char* kWatchedDatabase = "scripts/destructibles.xml";

/// What a reader finds instead of a version.
inline constexpr int kNothing = -1;  ///< no file, or one that was refused
inline constexpr int kTorn = -2;     ///< a mixture of versions, or a part of one

/// A database whose every entry names its version. All versions up to 999 are of one size, and no part of one
/// is well-formed.
std::string databaseOfVersion(int version);

/// Which version has exactly these names of models.
int versionOfNames(const std::vector<std::string>& names);

/// A resource root that is mounted, and frames that pass. The root lies in a folder in a temporary folder, so
/// that everything above it can be changed too.
class Fixture {
 public:
  Fixture();
  ~Fixture();
  Fixture(const Fixture&) = delete;
  Fixture& operator=(const Fixture&) = delete;

  /// What happens in every frame, pumping the file system included.
  std::function<void()> frame = [] {};

  /// Lets frames pass while a program takes its time.
  void pause(int milliseconds) const;

  /// Lets frames pass until the condition holds; false when that takes too long.
  bool framesUntil(const std::function<bool()>& condition) const;

  /// Lets frames pass until everything that was done before has surely been reported, whatever way it is
  /// noticed; but for writing whose end the system does not report, which takes longer.
  void letEverythingBeTold();

  std::filesystem::path root(const std::filesystem::path& name = {}) const {
    return outside("studio/root" / name);
  }
  std::filesystem::path outside(const std::filesystem::path& name) const { return folder_ / name; }
  std::filesystem::path database() const { return root(kWatchedDatabase); }

  void write(int version) const { writeFile(database(), databaseOfVersion(version)); }
  /// Saves as careful programs do: a new file, renamed over the old one. `name` is the file's below the root.
  void replace(int version, const std::filesystem::path& name = kWatchedDatabase) const;

  /// Keeps something alive, such as an open file, until the end.
  void hold(std::shared_ptr<void> something) { held_.push_back(std::move(something)); }

 private:
  TemporaryFolder folder_;
  std::vector<std::shared_ptr<void>> held_;
  int marks_ = 0;
};

/// One way in which programs change a file.
struct Scenario {
  const char* name;
  std::function<void(Fixture&)> prepare;  ///< makes version 1, or nothing
  std::function<int(Fixture&)> perform;   ///< the version that is there in the end, another one than before
  const char* saved = kWatchedDatabase;   ///< what a later save replaces, such as a link's target
};

const std::vector<Scenario>& changingScenarios();

/// Scenarios that leave the database as it is.
const std::vector<Scenario>& otherScenarios();

/// The name of a scenario as the name of a test.
template <class Info>
std::string nameOfScenario(const Info& info) {
  return info.param.name;
}

void PrintTo(const Scenario& scenario, std::ostream* stream);

/// Performs a scenario that changes the file, with a reader whose results are `reads`, the first one being of
/// what was prepared. What was read last must be what is there, nothing torn may have been read, and a later
/// save of the scenario's file must be read too.
void expectToBeFollowed(const Scenario& scenario, Fixture& database, const std::vector<int>& reads);

/// Performs a scenario that does not, and expects that the reader does not read again.
void expectToGoUnnoticed(const Scenario& scenario, Fixture& database, const std::vector<int>& reads);

}  // namespace support
