#pragma once

#include <core/stack_tracker.h>
#include <model/ks_material_disabler.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tal {

/// What happened, one line per call, in order.
using Journal = std::vector<std::string>;

/// A real disabler that also writes every call into a journal (not owned).
class RecordingDisabler : public KsMaterialDisabler {
 public:
  explicit RecordingDisabler(SuperModel* superModel, Journal* journal)
      : KsMaterialDisabler(superModel), journal_(journal) {}

  bool detachSuperModel(SuperModel* superModel) override {
    const bool detached = KsMaterialDisabler::detachSuperModel(superModel);
    note(detached ? "detach" : "detach refused");
    return detached;
  }
  void createMaterialBindings() override {
    note("createMaterialBindings");
    KsMaterialDisabler::createMaterialBindings();
  }
  void setIsDestroyed(bool isDestroyed) override {
    note(isDestroyed ? "setIsDestroyed true" : "setIsDestroyed false");
    KsMaterialDisabler::setIsDestroyed(isDestroyed);
  }
  void setMaterialKindVisible(unsigned kind, bool isVisible) override {
    note((isVisible ? "show " : "hide ") + std::to_string(kind));
    KsMaterialDisabler::setMaterialKindVisible(kind, isVisible);
  }
  bool getMaterialKindVisible(unsigned kind) const override {
    note("isVisible " + std::to_string(kind));
    return KsMaterialDisabler::getMaterialKindVisible(kind);
  }
  void getMaterialKindVisibles(std::map<unsigned, bool>& visibles) const override {
    note("getMaterialKindVisibles");
    KsMaterialDisabler::getMaterialKindVisibles(visibles);
  }

 private:
  void note(std::string line) const { journal_->push_back(std::move(line)); }

  Journal* journal_;
};

/// Writes every tracked push ("> loadConfig") and pop ("< loadConfig") of this thread into a journal while it
/// lives, and keeps the entries that were pushed. Operations of the helper are shown without their class.
class TrackRecorder {
 public:
  explicit TrackRecorder(Journal* journal) : journal_(journal) {
    previous_ = StackTracker::setRecorder([this](const StackTracker::Event& event) { note(event); });
  }
  ~TrackRecorder() { StackTracker::setRecorder(std::move(previous_)); }
  TrackRecorder(const TrackRecorder&) = delete;
  TrackRecorder& operator=(const TrackRecorder&) = delete;

  const std::vector<StackTracker::Entry>& pushed() const { return pushed_; }

 private:
  void note(const StackTracker::Event& event) {
    const bool isPush = event.kind == StackTracker::Event::Kind::push;
    if (isPush) pushed_.push_back(event.entry);
    std::string_view name = event.entry.function;
    constexpr std::string_view kClass = "Tal::KsDestructiblesHelper::";
    if (name.substr(0, kClass.size()) == kClass) name.remove_prefix(kClass.size());
    journal_->push_back((isPush ? "> " : "< ") + std::string(name));
  }

  Journal* journal_;
  std::vector<StackTracker::Entry> pushed_;
  StackTracker::Recorder previous_;
};

}  // namespace Tal
