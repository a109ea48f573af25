#pragma once

#include <authoring/outcome.h>
#include <destructibles/ks_destructibles_helper.h>
#include <ks/connection.h>
#include <mio/dynamic_object.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Tal::authoring {

class Session;

/// Makes an object what the parent of an edited record has to be: it offers the model's category as
/// "Destructible Type" and its hard points as "_hardPoints", from which the record's options are computed.
void offerToRecords(mio::DynamicObject& object, std::function<KsDestructibleType()> category,
                    std::function<std::vector<std::string>()> hardPoints);

/// One record of a session as a property panel sees it: what is set through the properties of its object is
/// checked and becomes an edit of the session at once. Main thread only; the session must outlive it.
class PanelRecord {
 public:
  /// The record of a fragile or a falling atom, or, with a name, that of one module of a structure. A fault
  /// when there is none.
  static Result<std::unique_ptr<PanelRecord>> open(Session& session,
                                                   const std::optional<std::string>& module);
  ~PanelRecord();
  PanelRecord(const PanelRecord&) = delete;
  PanelRecord& operator=(const PanelRecord&) = delete;

  /// The record; its parent offers what its options are computed from.
  mio::Object& object();

  /// Takes over what the session has now, whoever set it; edits and reloads of the session do so by
  /// themselves. False when the session has no such record any more; then the record shows what it was.
  bool refresh();

  /// What became of the last value that was set; after a fault the record has the old value again.
  const Result<Outcome>& lastOutcome() const noexcept { return lastOutcome_; }

 private:
  using Record =
      std::variant<KsDestructibleModuleDesc, KsDestructibleFragileDesc, KsDestructibleFallingAtomDesc>;

  PanelRecord(Session& session, std::optional<std::string> module, Record record);
  void commit();

  Session& session_;
  std::optional<std::string> module_;
  mio::DynamicObject model_;
  Record record_;
  Record base_;  // what the session had when it was last looked at
  Result<Outcome> lastOutcome_ = Outcome();
  ks::Connection changed_;
  ks::Connection edited_;
  ks::Connection reloaded_;
};

}  // namespace Tal::authoring
