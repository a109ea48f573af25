#pragma once

#include <destructibles/ks_destructibles_helper.h>
#include <destructibles/save_rules.h>

#include <cstdint>
#include <vector>

namespace Tal {

/// What helpers contribute to saves by save_rules.h. Main thread only; nothing
/// here is exported by the module's shared library.
struct ModelSaving {
  /// The content of the helper's model in the tables, valid until they change.
  static save_rules::Content contentOf(const KsDestructiblesHelper& helper);

  /// The steps of a write of that content, each tracked as an operation of the helper.
  static save_rules::Steps stepsOf(KsDestructiblesHelper& helper);

  /// Notes that the models of these helpers were written to the database. None is marked as missing any more,
  /// and the next load reads their entries alone. The stamps are the document's content stamps around the
  /// write; `stampBefore` is 0 when more than entries of these models was touched.
  static void note(const std::vector<KsDestructiblesHelper*>& helpers, std::uint64_t stampBefore,
                   std::uint64_t stampNow);
};

}  // namespace Tal
