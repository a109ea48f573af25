#include <core/white_space.h>
#include <resources/documents/save_queue.h>
#include <resources/documents/section_path.h>
#include <resources/documents/xml_section.h>
#include <resources/report.h>
#include <resources/storable_text.h>
#include <xml/parser.h>
#include <xml/text.h>

#include <utility>

namespace Tal {

XmlSection::XmlSection(SmartPointer<SectionDocument> document, xml::NodeIndex node) noexcept
    : document_(std::move(document)), node_(node) {}

SmartPointer<DataSection> XmlSection::sectionOf(xml::NodeIndex node) const {
  if (node == xml::kNoNode) return nullptr;
  return new XmlSection(document_, node);
}

BasicStringRef XmlSection::tag() const {
  return tree().tag(node_);
}

std::string XmlSection::value() const {
  std::string scratch;
  return std::string(tree().text(node_, scratch));
}

bool XmlSection::setValue(BasicStringRef value) {
  std::string scratch;
  const bool isNew = tree().isUnwritten(node_);  // white space alone equals nothing, but is written once
  if (tree().text(node_, scratch) == trimmed(value) && (!isNew || value.empty())) return true;
  if (!canHold(value)) return SaveQueue::instance().refuseValue(tag(), kUnholdable);
  document_->tree().setText(node_, xml::escaped(value, xml::largestCharacter(document_->encoding())));
  return true;
}

std::string XmlSection::attribute(BasicStringRef name) const {
  return tree().attribute(node_, name);
}

int XmlSection::childCount() const {
  return static_cast<int>(tree().childCount(node_));
}

SmartPointer<DataSection> XmlSection::child(int index) const {
  if (index < 0 || index >= childCount()) return nullptr;
  return sectionOf(tree().child(node_, static_cast<std::uint32_t>(index)));
}

SmartPointer<DataSection> XmlSection::findChild(BasicStringRef tag) const {
  return sectionOf(tree().findChild(node_, tag));
}

int XmlSection::findChildWith(BasicStringRef key, BasicStringRef value, int first) const {
  if (first < 0) return -1;
  std::string scratch;
  const auto count = tree().childCount(node_);
  for (auto place = static_cast<std::uint32_t>(first); place < count; ++place) {
    const xml::NodeIndex found = tree().findChild(tree().child(node_, place), key);
    const BasicStringRef text = found == xml::kNoNode ? BasicStringRef() : tree().text(found, scratch);
    if (text == value) return static_cast<int>(place);
  }
  return -1;
}

std::uint64_t XmlSection::contentStamp() const {
  return document_->contentStamp();
}

std::shared_ptr<const void> XmlSection::derivedValue(const AnyDerivation& derivation) const {
  return document_->derived(derivation, node_, *this);
}

SmartPointer<DataSection> XmlSection::appendChild(BasicStringRef tag) {
  if (!canName(tag)) return nullptr;
  return sectionOf(document_->tree().appendChild(node_, tag));
}

bool XmlSection::removeChild(const SmartPointer<DataSection>& child) {
  const auto* const section = dynamic_cast<const XmlSection*>(child.get());
  if (section == nullptr || !(section->document_ == document_)) return false;
  return document_->tree().removeChild(node_, section->node_);
}

bool XmlSection::removeChild(BasicStringRef tag) {
  const xml::NodeIndex found = tree().findChild(node_, tag);
  return found != xml::kNoNode && document_->tree().removeChild(node_, found);
}

void XmlSection::removeEvery(BasicStringRef tag) {
  document_->tree().removeChildren(node_, tag);
}

void XmlSection::removeChildren() {
  document_->tree().removeChildren(node_);
}

bool XmlSection::save(BasicStringRef fileName) {
  if (SaveQueue::instance().put(document_, fileName)) return true;
  const Result<void> written = document_->write(fileName);
  if (!written) reportFailedSave(written.fault());
  return static_cast<bool>(written);
}

bool XmlSection::canName(BasicStringRef tag) const {
  if (tree().knowsTag(tag)) return true;
  // A tag cannot hold references for the characters that the file's encoding lacks.
  return xml::isElementName(tag) && xml::isWithin(tag, xml::largestCharacter(document_->encoding()));
}

bool XmlSection::canHold(BasicStringRef value) const {
  return isStorable(value);
}

bool XmlSection::readValue(BasicStringRef path, std::string& scratch, BasicStringRef& value) const {
  // Nearly every path is one step, which names of elements, without a "/", tell at once.
  xml::NodeIndex node = tree().findChild(node_, path);
  if (node == xml::kNoNode) {
    node = node_;
    while (node != xml::kNoNode && !path.empty()) {
      const BasicStringRef step = takeStep(path);
      if (!step.empty()) node = tree().findChild(node, step);
    }
  }
  if (node == xml::kNoNode) return false;
  value = tree().text(node, scratch);
  return true;
}

}  // namespace Tal
