#include <resources/section_path.h>
#include <resources/xml_parser.h>
#include <resources/xml_section.h>
#include <resources/xml_text.h>

#include <utility>

namespace Tal {

XmlSection::XmlSection(SmartPointer<SectionDocument> document, Xml::NodeIndex node) noexcept
    : document_(std::move(document)), node_(node) {}

SmartPointer<DataSection> XmlSection::sectionOf(Xml::NodeIndex node) const {
  if (node == Xml::kNoNode) return nullptr;
  return new XmlSection(document_, node);
}

BasicStringRef XmlSection::tag() const {
  return tree().tag(node_);
}

std::string XmlSection::value() const {
  std::string scratch;
  return std::string(tree().text(node_, scratch));
}

bool XmlSection::setValue(BasicStringRef /*value*/) {
  return false;
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

SmartPointer<DataSection> XmlSection::appendChild(BasicStringRef /*tag*/) {
  return nullptr;
}
bool XmlSection::removeChild(const SmartPointer<DataSection>& /*child*/) {
  return false;
}
bool XmlSection::removeChild(BasicStringRef /*tag*/) {
  return false;
}
void XmlSection::removeChildren() {}
bool XmlSection::save(BasicStringRef /*fileName*/) {
  return false;
}

bool XmlSection::canName(BasicStringRef tag) const {
  return Xml::isElementName(tag);
}

bool XmlSection::canHold(BasicStringRef value) const {
  return Xml::isStorable(value);
}

bool XmlSection::readValue(BasicStringRef path, std::string& scratch, BasicStringRef& value) const {
  Xml::NodeIndex node = node_;
  while (node != Xml::kNoNode && !path.empty()) {
    const BasicStringRef step = takeStep(path);
    if (!step.empty()) node = tree().findChild(node, step);
  }
  if (node == Xml::kNoNode) return false;
  value = tree().text(node, scratch);
  return true;
}

}  // namespace Tal
