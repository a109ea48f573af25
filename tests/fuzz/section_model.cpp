#include <fuzz/fuzz_support.h>
#include <fuzz/section_model.h>

#include <algorithm>

namespace fuzz {
namespace {

void addOutline(const Tal::DataSection& section, std::string& outline) {
  outline += std::string(section.tag()) + ' ' + std::to_string(section.childCount()) + " [" +
             section.value() + "]\n";
  for (const Tal::SmartPointer<Tal::DataSection>& child : section) addOutline(*child, outline);
}

}  // namespace

SectionModel::Pointer SectionModel::of(const Tal::DataSection& section) {
  auto model = std::make_unique<SectionModel>();
  model->tag = section.tag();
  model->value = section.value();
  for (const Tal::SmartPointer<Tal::DataSection>& child : section) model->children.push_back(of(*child));
  return model;
}

std::size_t SectionModel::placeOf(std::string_view childTag) const {
  const auto found = std::find_if(children.begin(), children.end(),
                                  [childTag](const Pointer& child) { return child->tag == childTag; });
  return static_cast<std::size_t>(found - children.begin());
}

void requireReads(const Tal::DataSection& section, const SectionModel& model, std::string_view promise) {
  requireEqual(section.tag(), model.tag, promise);
  if (model.isLoose) {
    requireEqual(withoutSpace(section.value()), withoutSpace(model.value), promise);
  } else {
    requireEqual(section.value(), model.value, promise);
  }
  require(section.childCount() == static_cast<int>(model.children.size()), promise);
  for (std::size_t i = 0; i < model.children.size(); ++i) {
    const Tal::SmartPointer<Tal::DataSection> child = section.child(static_cast<int>(i));
    require(child.get() != nullptr, promise);
    requireReads(*child, *model.children[i], promise);
  }
}

std::string outlineOf(const Tal::DataSection& section) {
  std::string outline;
  addOutline(section, outline);
  return outline;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

}  // namespace fuzz
