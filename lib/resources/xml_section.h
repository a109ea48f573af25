#pragma once

#include <resources/data_section.h>
#include <resources/section_document.h>

#include <cstdint>

namespace Tal {

/// A handle on one element of an XML document.
class XmlSection final : public DataSection {
 public:
  /// `place` is where the element stands among its parent's children, when that is known.
  XmlSection(SmartPointer<SectionDocument> document, Xml::NodeIndex node, std::uint32_t place = 0) noexcept;

  BasicStringRef tag() const override;
  std::string value() const override;
  bool setValue(BasicStringRef value) override;
  int childCount() const override;
  SmartPointer<DataSection> child(int index) const override;
  SmartPointer<DataSection> findChild(BasicStringRef tag) const override;
  SmartPointer<DataSection> appendChild(BasicStringRef tag) override;
  bool removeChild(const SmartPointer<DataSection>& child) override;
  bool removeChild(BasicStringRef tag) override;
  void removeChildren() override;
  bool save(BasicStringRef fileName) override;

 protected:
  bool readValue(BasicStringRef path, std::string& scratch, BasicStringRef& value) const override;
  bool canName(BasicStringRef tag) const override;
  bool canHold(BasicStringRef value) const override;
  void removeEvery(BasicStringRef tag) override;

 private:
  const Xml::Tree& tree() const noexcept { return document_->tree(); }
  SmartPointer<DataSection> sectionOf(Xml::NodeIndex node, std::uint32_t place = 0) const;

  SmartPointer<SectionDocument> document_;
  Xml::NodeIndex node_;
  std::uint32_t place_;
};

}  // namespace Tal
