#include <fuzz/section_editor.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>

namespace fuzz {

using Tal::DataSection;
using Tal::SmartPointer;

namespace {

constexpr char kCopy[] = "copy.xml";

/// Printable text that every encoding has; no format can refuse it.
bool isHarmless(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

std::vector<std::string> stepsOf(std::string_view path) {
  std::vector<std::string> steps;
  while (!path.empty()) {
    const std::string_view step = path.substr(0, path.find('/'));
    if (!step.empty()) steps.emplace_back(step);
    path.remove_prefix(std::min(step.size() + 1, path.size()));
  }
  return steps;
}

/// Writes a value of any type; `isRight` then tells whether it reads back.
bool writeAny(DataSection& section, const std::string& path, Choices& choices, bool& isRight) {
  const auto number = std::bit_cast<float>(choices.number());
  bool isDone = false;
  switch (choices.below(4)) {
    case 0:
      isDone = section.writeInt(path, static_cast<int>(choices.number()) >> choices.below(32));
      require(isDone, "a whole number can be written");
      break;
    case 1:
      isDone = section.writeFloat(path, number);
      isRight = section.readFloat(path) == number;
      require(isDone == std::isfinite(number), "a finite number can be written");
      break;
    case 2: {
      const Tal::Vector3 vector{number, 1, std::bit_cast<float>(choices.number())};
      isDone = section.writeVector3(path, vector);
      isRight = section.readVector3(path) == vector;
      break;
    }
    default: {
      const std::string text = choices.text();
      isDone = section.writeString(path, text);
      isRight = section.readString(path) == trimmed(text);
      require(isDone || !isHarmless(text), "a harmless text can be written");
    }
  }
  return isDone;
}

}  // namespace

SectionEditor::SectionEditor(SmartPointer<DataSection> root, std::string bytes)
    : root_(std::move(root)), model_(SectionModel::of(*root_)), bytes_(std::move(bytes)) {}

void SectionEditor::editAnything(Choices& choices) {
  const std::size_t kind = choices.below(12);
  const Subject subject = anySubject(choices);
  note("edit " + std::to_string(kind) + " of <" + subject.model->tag + "> in\n" + bytes_);
  const Change change = edit(kind, subject, choices);
  require(root_->save(kCopy), "a document can be written to another resource");
  std::string bytes = Root::instance().read(kCopy);
  if (change && subject.isAttached) {
    requireKept(bytes_, bytes, *change);
  } else {
    requireEqual(bytes, bytes_, "what changes nothing changes no byte");
  }
  bytes_ = std::move(bytes);
}

SectionEditor::Change SectionEditor::edit(std::size_t kind, const Subject& subject, Choices& choices) {
  switch (kind) {
    case 0:
      return setValue(subject, choices.text());
    case 1:
      return append(subject, anyTag(choices));
    case 2:
      return removeOne(subject, choices);
    case 3:
      return removeFirst(subject, anyTag(choices));
    case 4:
      return removeAll(subject);
    case 5:
      return deletePath(subject, anyPath(choices), choices.below(2) == 0);
    case 6:
      return open(subject, anyPath(choices));
    case 7:
      return repeat(subject);
    case 8:
      require(root_->save(), "a document can be saved");
      return std::nullopt;
    default:
      return write(subject, anyPath(choices), choices);
  }
}

void SectionEditor::requireAllReads() const {
  requireReads(*root_, *model_, "sections read as they were edited");
  for (const auto& [section, model] : removed_)
    requireReads(*section, *model, "a removed section reads as it was");
}

SectionEditor::Subject SectionEditor::anySubject(Choices& choices) const {
  Subject subject{root_, model_.get(), {}, true};
  const std::size_t first = choices.below(256);
  if (first % 16 == 15 && !removed_.empty()) {
    const Removed& removed = removed_[choices.below(removed_.size())];
    subject = {removed.first, removed.second.get(), {}, false};
  }
  for (std::size_t depth = first % 8; depth > 0 && !subject.model->children.empty(); --depth) {
    const std::size_t place = choices.below(subject.model->children.size());
    subject.section = subject.section->child(static_cast<int>(place));
    require(subject.section.get() != nullptr, "there are as many children as were counted");
    subject.model = subject.model->children[place].get();
    subject.path.push_back(place);
  }
  return subject;
}

std::string SectionEditor::anyTag(Choices& choices) const {
  return choices.below(3) == 0 ? choices.text() : anySubject(choices).model->tag;
}

std::string SectionEditor::anyPath(Choices& choices) const {
  std::string path = anyTag(choices);
  for (std::size_t more = choices.below(8); more > 5; --more) path += '/' + anyTag(choices);
  return path;
}

SectionEditor::Subject SectionEditor::follow(Subject from, std::string_view path,
                                             std::vector<std::string>& missing) {
  missing = stepsOf(path);
  while (!missing.empty()) {
    const std::size_t place = from.model->placeOf(missing.front());
    if (place == from.model->children.size()) break;
    from.section = from.section->findChild(missing.front());
    require(from.section.get() != nullptr, "a child is found by its tag");
    from.model = from.model->children[place].get();
    from.path.push_back(place);
    missing.erase(missing.begin());
  }
  return from;
}

SectionEditor::Change SectionEditor::noteValue(const Subject& subject) {
  std::string value = subject.section->value();
  const bool isSame = value == subject.model->value;
  subject.model->value = std::move(value);
  subject.model->isLoose = false;
  if (isSame) return std::nullopt;
  return Edit{.element = subject.path, .isTextSet = true};
}

SectionEditor::Change SectionEditor::setValue(const Subject& subject, const std::string& text) {
  subject.model->value = subject.section->value();
  const bool isSet = subject.section->setValue(text);
  require(isSet || !isHarmless(text), "a harmless text can be set");
  requireEqual(subject.section->value(), isSet ? trimmed(text) : subject.model->value,
               "a value that was set is read, and one that was refused leaves the old one");
  const Change change = noteValue(subject);
  const bool isBlank = isSet && !text.empty() && trimmed(text).empty();
  if (!change && isBlank && subject.model->isMade)  // white space is written once, and read as nothing
    return Edit{.element = subject.path, .isTextSet = true};
  return change;
}

SectionEditor::Change SectionEditor::append(const Subject& subject, const std::string& tag) {
  if (!subject.section->appendChild(tag)) return std::nullopt;
  return noteMade(subject, {tag});
}

SectionEditor::Change SectionEditor::noteMade(const Subject& deepest, const std::vector<std::string>& steps) {
  SectionModel* model = deepest.model;
  model->isLoose = true;
  for (const std::string& step : steps) {
    model->children.push_back(std::make_unique<SectionModel>());
    model = model->children.back().get();
    model->tag = step;
    model->isMade = true;
  }
  return Edit{.element = deepest.path, .added = 1};
}

std::vector<SectionEditor::Handle> SectionEditor::childrenOf(const Subject& subject) {
  std::vector<Handle> children;
  for (const Handle& child : *subject.section) children.push_back(child);
  return children;
}

SectionEditor::Change SectionEditor::takeOut(const Subject& subject, const std::vector<bool>& removed,
                                             const std::vector<Handle>& handles) {
  std::vector<SectionModel::Pointer> kept;
  for (std::size_t i = 0; i < removed.size(); ++i) {
    SectionModel::Pointer& child = subject.model->children[i];
    if (removed[i]) {
      removed_.emplace_back(handles[i], std::move(child));
    } else {
      kept.push_back(std::move(child));
    }
  }
  const bool isAnyRemoved = kept.size() < removed.size();
  subject.model->children = std::move(kept);
  if (!isAnyRemoved) return std::nullopt;
  subject.model->isLoose = true;
  return Edit{.element = subject.path, .removed = removed};
}

SectionEditor::Change SectionEditor::removeOne(const Subject& subject, Choices& choices) {
  const std::vector<Handle> handles = childrenOf(subject);
  std::vector<bool> removed(handles.size());
  if (handles.empty()) {
    require(!subject.section->removeChild(root_), "a section that is no child is not removed");
    return std::nullopt;
  }
  const std::size_t place = choices.below(handles.size());
  require(subject.section->removeChild(handles[place]), "a child can be removed");
  require(!subject.section->removeChild(handles[place]), "a child is removed once");
  removed[place] = true;
  return takeOut(subject, removed, handles);
}

SectionEditor::Change SectionEditor::removeFirst(const Subject& subject, const std::string& tag) {
  const std::vector<Handle> handles = childrenOf(subject);
  std::vector<bool> removed(handles.size());
  const std::size_t place = subject.model->placeOf(tag);
  if (place < removed.size()) removed[place] = true;
  require(subject.section->removeChild(std::string_view(tag)) == (place < removed.size()),
          "the first child of a tag can be removed");
  return takeOut(subject, removed, handles);
}

SectionEditor::Change SectionEditor::removeAll(const Subject& subject) {
  const std::vector<Handle> handles = childrenOf(subject);
  subject.section->removeChildren();
  return takeOut(subject, std::vector<bool>(handles.size(), true), handles);
}

SectionEditor::Change SectionEditor::deletePath(const Subject& subject, const std::string& path,
                                                bool isEvery) {
  const std::vector<std::string> steps = stepsOf(path);
  std::string parentPath;
  for (std::size_t i = 0; i + 1 < steps.size(); ++i) parentPath += steps[i] + '/';
  std::vector<std::string> missing;
  const Subject parent = follow(subject, parentPath, missing);
  const std::vector<Handle> handles = childrenOf(parent);
  std::vector<bool> removed(handles.size());
  for (std::size_t i = 0; i < handles.size() && missing.empty() && !steps.empty(); ++i) {
    if (parent.model->children[i]->tag != steps.back()) continue;
    removed[i] = true;
    if (!isEvery) break;
  }
  if (isEvery) {
    subject.section->deleteSections(path);
  } else {
    subject.section->deleteSection(path);
  }
  return takeOut(parent, removed, handles);
}

SectionEditor::Change SectionEditor::open(const Subject& subject, const std::string& path) {
  std::vector<std::string> missing;
  const Subject deepest = follow(subject, path, missing);
  require((subject.section->openSection(path).get() != nullptr) == missing.empty(),
          "a section is opened when it is there");
  const Handle opened = subject.section->openSection(path, true);
  require(opened.get() != nullptr || !missing.empty(), "a section that is there is opened");
  if (!opened || missing.empty()) return std::nullopt;
  return noteMade(deepest, missing);
}

SectionEditor::Change SectionEditor::write(const Subject& subject, const std::string& path,
                                           Choices& choices) {
  std::vector<std::string> missing;
  const Subject deepest = follow(subject, path, missing);
  if (missing.empty()) deepest.model->value = deepest.section->value();
  const bool wasThere = subject.section->openSection(path).get() != nullptr;
  require(wasThere == missing.empty(), "a section is opened when it is there");
  if (!wasThere && !subject.section->openSection(path, true)) return std::nullopt;  // no name for a section
  Change change;
  if (!wasThere) change = noteMade(deepest, missing);
  const Subject target = follow(subject, path, missing);
  bool isRight = true;
  if (writeAny(*subject.section, path, choices, isRight)) require(isRight, "a written value is read");
  const Change valueChange = noteValue(target);
  return change ? change : valueChange;
}

SectionEditor::Change SectionEditor::repeat(const Subject& subject) {
  require(subject.section->setValue(subject.section->value()), "a section can take the value that it has");
  return std::nullopt;
}

}  // namespace fuzz
