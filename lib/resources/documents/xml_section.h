#pragma once

#include <resources/data_section.h>
#include <resources/documents/section_document.h>

namespace Tal {

/// A handle on one element of an XML document.
class XmlSection final : public DataSection {
 public:
  XmlSection(SmartPointer<SectionDocument> document, xml::NodeIndex node) noexcept;

  BasicStringRef tag() const override;
  std::string value() const override;
  bool setValue(BasicStringRef value) override;
  std::string attribute(BasicStringRef name) const override;
  int childCount() const override;
  SmartPointer<DataSection> child(int index) const override;
  SmartPointer<DataSection> findChild(BasicStringRef tag) const override;
  int findChildWith(BasicStringRef key, BasicStringRef value, int first) const override;
  std::uint64_t contentStamp() const override;
  std::string bytes() const override { return document_->encoded(); }
  SmartPointer<DataSection> appendChild(BasicStringRef tag) override;
  bool removeChild(const SmartPointer<DataSection>& child) override;
  bool removeChild(BasicStringRef tag) override;
  void removeChildren() override;
  bool save(BasicStringRef fileName) override;

 protected:
  std::shared_ptr<const void> derivedValue(const AnyDerivation& derivation) const override;
  bool readValue(BasicStringRef path, std::string& scratch, BasicStringRef& value) const override;
  bool canName(BasicStringRef tag) const override;
  bool canHold(BasicStringRef value) const override;
  void removeEvery(BasicStringRef tag) override;

 private:
  const xml::Tree& tree() const noexcept { return document_->tree(); }
  SmartPointer<DataSection> sectionOf(xml::NodeIndex node) const;

  SmartPointer<SectionDocument> document_;
  xml::NodeIndex node_;
};

}  // namespace Tal
