#include <core/white_space.h>
#include <resources/data_section.h>
#include <resources/documents/save_queue.h>
#include <resources/documents/section_path.h>
#include <resources/number_text.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace Tal {
namespace {

/// The steps of a path that lead away from the section itself.
std::vector<BasicStringRef> stepsOf(BasicStringRef path) {
  std::vector<BasicStringRef> steps;
  while (!path.empty())
    if (const BasicStringRef step = takeStep(path); !step.empty()) steps.push_back(step);
  return steps;
}

}  // namespace

DataSection::DataSection() = default;
DataSection::~DataSection() = default;

SmartPointer<DataSection> DataSectionIterator::operator*() const {
  return section_->child(index_);
}

SmartPointer<DataSection> DataSection::openSection(BasicStringRef name, bool create,
                                                   DataSectionCreator* creator) {
  SmartPointer<DataSection> section = this;
  while (!name.empty()) {
    const BasicStringRef path = name;
    const BasicStringRef step = takeStep(name);
    if (step.empty()) continue;
    SmartPointer<DataSection> next = section->findChild(step);
    if (!next) return create ? section->makeSection(path, creator) : nullptr;
    section = std::move(next);
  }
  return section;
}

SmartPointer<DataSection> DataSection::makeSection(BasicStringRef path, DataSectionCreator* creator) {
  const std::vector<BasicStringRef> steps = stepsOf(path);
  const bool areTags =
      std::all_of(steps.begin(), steps.end(), [this](BasicStringRef step) { return canName(step); });
  if (!areTags) return nullptr;
  SmartPointer<DataSection> pattern;
  if (creator != nullptr) {
    pattern = creator->create(steps.back());
    if (!pattern) return nullptr;
  }
  SmartPointer<DataSection> section = this;
  for (const BasicStringRef step : steps) {
    section = section->appendChild(step);
    if (!section) return nullptr;
  }
  if (pattern) section->copyContent(*pattern);
  return section;
}

void DataSection::copyContent(const DataSection& pattern) {
  std::vector<std::pair<SmartPointer<DataSection>, SmartPointer<DataSection>>> pending;
  const auto copyOne = [&pending](DataSection& into, const DataSection& from) {
    into.setValue(from.value());
    for (const SmartPointer<DataSection>& child : from)
      pending.emplace_back(into.appendChild(child->tag()), child);
  };
  copyOne(*this, pattern);
  while (!pending.empty()) {
    const auto [into, from] = pending.back();
    pending.pop_back();
    if (into) copyOne(*into, *from);
  }
}

SmartPointer<DataSection> DataSection::parentOf(BasicStringRef path, BasicStringRef& lastStep) {
  const std::vector<BasicStringRef> steps = stepsOf(path);
  if (steps.empty()) return nullptr;
  lastStep = steps.back();
  return openSection(path.substr(0, static_cast<std::size_t>(lastStep.data() - path.data())));
}

std::string DataSection::attribute(BasicStringRef /*name*/) const {
  return {};
}

std::shared_ptr<const void> DataSection::derivedValue(const AnyDerivation& derivation) const {
  return derivation.valueOf(*this);
}

int DataSection::findChildWith(BasicStringRef key, BasicStringRef value, int first) const {
  if (first < 0) return -1;
  for (int place = first; place < childCount(); ++place)
    if (child(place)->readString(key) == value) return place;
  return -1;
}

void DataSection::deleteSection(BasicStringRef name) {
  BasicStringRef last;
  if (const SmartPointer<DataSection> parent = parentOf(name, last)) parent->removeChild(last);
}

void DataSection::deleteSections(BasicStringRef name) {
  BasicStringRef last;
  if (const SmartPointer<DataSection> parent = parentOf(name, last)) parent->removeEvery(last);
}

void DataSection::removeEvery(BasicStringRef tag) {
  while (removeChild(tag)) {
  }
}

bool DataSection::canName(BasicStringRef tag) const {
  return !tag.empty();
}

bool DataSection::canHold(BasicStringRef /*value*/) const {
  return true;
}

template <class IsSame>
bool DataSection::writeText(BasicStringRef key, BasicStringRef text, const IsSame& isSame) {
  SmartPointer<DataSection> section = openSection(key);
  if (section && isSame(section->value())) return true;
  if (!section && !canHold(text)) return SaveQueue::instance().refuseValue(key, kUnholdable);
  if (!section) section = openSection(key, true);
  return section && section->setValue(text);
}

bool DataSection::writeString(BasicStringRef key, BasicStringRef value) {
  return writeText(key, value, [=](BasicStringRef old) { return old == trimmed(value); });
}

bool DataSection::writeInt(BasicStringRef key, int value) {
  return writeText(key, intText(value), [=](BasicStringRef old) { return parseInt(old) == value; });
}

bool DataSection::writeFloat(BasicStringRef key, float value) {
  if (std::isfinite(value))
    return writeText(key, floatText(value), [=](BasicStringRef old) { return parseFloat(old) == value; });
  return SaveQueue::instance().refuseValue(key, kNotFinite);
}

bool DataSection::writeVector3(BasicStringRef key, const Vector3& value) {
  if (std::isfinite(value.x) && std::isfinite(value.y) && std::isfinite(value.z))
    return writeText(key, vector3Text(value), [&](BasicStringRef old) { return parseVector3(old) == value; });
  return SaveQueue::instance().refuseValue(key, kNotFinite);
}

bool DataSection::readValue(BasicStringRef path, std::string& scratch, BasicStringRef& value) const {
  BasicStringRef first;
  while (first.empty() && !path.empty()) first = takeStep(path);
  if (first.empty()) {
    scratch = this->value();
  } else {
    const SmartPointer<DataSection> section = findChild(first);
    const SmartPointer<DataSection> target = section ? section->openSection(path) : nullptr;
    if (!target) return false;
    scratch = target->value();
  }
  value = scratch;
  return true;
}

std::string DataSection::readString(BasicStringRef key, BasicStringRef defaultValue, int /*flags*/) const {
  std::string scratch;
  BasicStringRef value = defaultValue;
  readValue(key, scratch, value);
  return std::string(value);
}

int DataSection::readInt(BasicStringRef key, int defaultValue) const {
  std::string scratch;
  BasicStringRef value;
  return readValue(key, scratch, value) ? parseInt(value).value_or(defaultValue) : defaultValue;
}

float DataSection::readFloat(BasicStringRef key, float defaultValue) const {
  std::string scratch;
  BasicStringRef value;
  return readValue(key, scratch, value) ? parseFloat(value).value_or(defaultValue) : defaultValue;
}

Vector3 DataSection::readVector3(BasicStringRef key, const Vector3& defaultValue) const {
  std::string scratch;
  BasicStringRef value;
  return readValue(key, scratch, value) ? parseVector3(value).value_or(defaultValue) : defaultValue;
}

}  // namespace Tal
