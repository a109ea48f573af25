#pragma once

#include <destructibles/fixture.h>
#include <support/words.h>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>

namespace Tal {

/// Does with helpers what lines of text say, and tells what they answer and all that happens meanwhile.
///
///   database [TEXT]             writes the file; the text may also be the lines behind the first
///   file NAME [TEXT]            writes another file in the same way
///   open NAME [MATERIAL=KIND...] [bsp NAME...] [nodes NAME...] [but THING...] [as LABEL]
///                               binds a helper to a model. It is without each THING: ready, top, collision,
///                               model, disabler. The commands below go to it.
///   to LABEL COMMAND...         does that with an earlier helper, else called by its model
///   track COMMAND               does that, and answers with the operations that the call stack shows
///   close                       destroys the helper, and goes back to the one before it
///
/// The commands for a helper are named after its operations, those for the tables and the members behind them
/// are described at store(), erase() and force(). Words in quotes may hold spaces. A helper tells when it has
/// loaded and when its category changes; the tables are those of the class.
class HelperScript : public DestructiblesTest {
 protected:
  HelperScript();
  ~HelperScript() override;

  /// Runs a command. What came of it, a line each: what it answers, then messages, signals and calls of the
  /// disabler in their order.
  std::string run(const std::string& command);

 private:
  struct Opened {
    std::string label;
    std::unique_ptr<SuperModel> model = {};
    Journal journal = {};
    Journal opening = {};  // what was shown while it was made
    std::unique_ptr<RecordingDisabler> disabler = {};
    std::unique_ptr<KsDestructiblesHelper> helper = {};
    std::vector<ks::Connection> listening = {};
  };
  /// What a helper is to be made of.
  struct Wanted {
    support::ModelParts parts = {};
    Strings lacks = {};
    Strings labels = {};
  };
  using Command = std::function<std::string()>;
  using Commands = std::map<std::string, Command>;

  Commands fileCommands();
  Commands helperCommands();
  Commands tableCommands();
  Commands recordCommands();
  Commands materialCommands();
  Commands stateCommands();

  template <class Number>
  Number takeNumber();

  Wanted takeWanted();
  std::string writeFile(const std::string& name);
  std::string open();
  std::string close();
  std::string atLabel();
  std::string track();
  std::string setAsNonDestructible();
  std::string updateModule();
  std::string editModule();
  template <class Record>
  std::string editRecord(bool (KsDestructiblesHelper::*get)(Record&),
                         bool (KsDestructiblesHelper::*update)(const Record&));
  std::string store();
  std::string erase();
  std::string force();
  std::string fill();

  Opened& opened();
  KsDestructiblesHelper& helper() { return *opened().helper; }
  void listen(Opened& opened);
  /// Tells what has happened since it was last asked.
  void note();

  const std::string* body_ = nullptr;  // the lines behind the first of the command
  support::Words words_;               // those of the command that are not taken yet
  std::list<Opened> opened_;
  Opened* current_ = nullptr;
  std::string events_;
  Commands commands_;
};

}  // namespace Tal
