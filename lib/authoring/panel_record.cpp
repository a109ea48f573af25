#include <authoring/assign_all.h>
#include <authoring/panel_record.h>
#include <authoring/session.h>
#include <core/display_text.h>
#include <core/nearest_name.h>
#include <destructibles/panel_names.h>

#include <utility>

namespace Tal::authoring {
namespace {

using Record =
    std::variant<KsDestructibleModuleDesc, KsDestructibleFragileDesc, KsDestructibleFallingAtomDesc>;

std::vector<std::string> namesOf(const std::map<std::string, KsDestructibleModuleDesc>& modules) {
  std::vector<std::string> names;
  names.reserve(modules.size());
  for (const auto& [name, module] : modules) names.push_back(name);
  return names;
}

// The record as the session has it now.
Result<Record> recordOf(Session& session, const std::optional<std::string>& module) {
  const Description now = session.description();
  const std::string model = quotedName(session.modelName());
  if (now.category == DT_STRUCTURE && module) {
    if (const auto found = now.modules.find(*module); found != now.modules.end())
      return Record(found->second);
    return refused(model + " has no module " + quotedName(*module) +
                   nameSuggestion(*module, namesOf(now.modules)));
  }
  if (now.category == DT_STRUCTURE) {
    return refused(model + " is a structure, whose records are its modules; name one" +
                   nameSuggestion("", namesOf(now.modules)));
  }
  if (module) return refused(model + " is no structure and has no modules", "convert it first");
  if (now.fragile) return Record(*now.fragile);
  if (now.fallingAtom) return Record(*now.fallingAtom);
  return refused(model + " is not destructible and has no properties", "convert it first");
}

}  // namespace

void offerToRecords(mio::DynamicObject& object, std::function<KsDestructibleType()> category,
                    std::function<std::vector<std::string>()> hardPoints) {
  object.addProperty(panel_names::kDestructibleType, tyk::Variant::Type::signedInteger,
                     [category = std::move(category)] { return tyk::Variant(category()); });
  object.addProperty(panel_names::kHardPoints, tyk::Variant::Type::list,
                     [hardPoints = std::move(hardPoints)] { return tyk::Variant(hardPoints()); });
}

Result<std::unique_ptr<PanelRecord>> PanelRecord::open(Session& session,
                                                       const std::optional<std::string>& module) {
  auto record = recordOf(session, module);
  if (!record) return std::move(record).fault();
  return std::unique_ptr<PanelRecord>(new PanelRecord(session, module, *std::move(record)));
}

PanelRecord::PanelRecord(Session& session, std::optional<std::string> module, Record record)
    : session_(session), module_(std::move(module)), record_(std::move(record)), base_(record_) {
  offerToRecords(
      model_, [this] { return session_.category(); }, [this] { return session_.hardPoints(); });
  object().setParent(&model_);
  std::visit([this](auto& own) { changed_ = own.changed.connect([this](mio::SetterFlags) { commit(); }); },
             record_);
  edited_ = session_.connectEdited([this] { refresh(); });
  reloaded_ = session_.connectReloaded([this] { refresh(); });
}

PanelRecord::~PanelRecord() = default;

mio::Object& PanelRecord::object() {
  return std::visit([](auto& record) -> mio::Object& { return record; }, record_);
}

bool PanelRecord::refresh() {
  const auto stored = recordOf(session_, module_);
  const bool isThere = stored && stored->index() == base_.index();
  if (isThere) base_ = *stored;
  // The record stays in its place, with its connections: only its fields are replaced.
  std::visit([this](auto& own) { own = std::get<std::decay_t<decltype(own)>>(base_); }, record_);
  return isThere;
}

void PanelRecord::commit() {
  const auto stored = recordOf(session_, module_);
  if (!stored) {
    lastOutcome_ = stored.fault();
  } else if (stored->index() != base_.index()) {
    lastOutcome_ = refused("the model has another category now", "look at it anew");
  } else {
    const std::vector<Assignment> assignments = std::visit(
        [this](const auto& own) { return differences(std::get<std::decay_t<decltype(own)>>(base_), own); },
        record_);
    lastOutcome_ = module_ ? session_.setModule(*module_, assignments) : session_.set(assignments);
  }
  refresh();
}

}  // namespace Tal::authoring
