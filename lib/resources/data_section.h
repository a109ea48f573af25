#pragma once

#include <core/reference_count.h>
#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <core/vector3.h>
#include <resources/derivation.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Tal {

class DataSection;

/// Supplies a section that has to be made because it does not exist. Null stands for the module's own XML
/// sections.
class DataSectionCreator {
 public:
  virtual ~DataSectionCreator() = default;

  /// A new, empty section of the given tag (for a document: of the given resource name), or null when it
  /// declines.
  virtual SmartPointer<DataSection> create(BasicStringRef name) = 0;
};

/// A position among the children of a section, for reading. It holds no reference: the section must outlive
/// it.
class ConstDataSectionIterator {
 public:
  ConstDataSectionIterator(const DataSection* section, int index) noexcept
      : section_(section), index_(index) {}

  bool operator!=(const ConstDataSectionIterator& other) const noexcept {
    return index_ != other.index_ || section_ != other.section_;
  }
  ConstDataSectionIterator& operator++() noexcept {
    ++index_;
    return *this;
  }

 protected:
  const DataSection* section_;
  int index_;
};

/// A position among the children of a section. Removing or adding children shifts the positions behind them.
class DataSectionIterator : public ConstDataSectionIterator {
 public:
  using ConstDataSectionIterator::ConstDataSectionIterator;

  /// The child; null when children were removed from under the iterator.
  SmartPointer<DataSection> operator*() const;
};

/// A reference-counted handle on one element of a document. The document lives as long as any of its handles
/// or the cache (DataSectionCache) holds it; a handle on an element that was removed stays valid and reads as
/// it was.
///
/// Everywhere a key or name is asked for, it may be a path with slashes ("boundingBox/min"); at each step the
/// first child of that tag is meant. The empty name is the section itself, never a child with an empty tag.
/// A leaf's value is its text without surrounding white space. Numbers are read and written independently of
/// the locale. Main thread only.
class DataSection : public SafeReferenceCount {
 public:
  /// @name The section's own operations
  /// @{

  /// The element's name; the view is valid as long as the document.
  virtual BasicStringRef tag() const = 0;

  /// The element's own text, without surrounding white space; empty when there is none.
  virtual std::string value() const = 0;

  /// Replaces the element's own text by `value`, escaped as the format needs; a value that it already has
  /// changes nothing. False when the format cannot hold `value` (XML: control characters other than tab and
  /// line ends, invalid UTF-8): that is reported with priority 5, and the text stays as it was.
  virtual bool setValue(BasicStringRef value) = 0;

  /// The value of an attribute of the element; empty when it has none of that name. Edits keep attributes as
  /// they are.
  virtual std::string attribute(BasicStringRef name) const;

  virtual int childCount() const = 0;

  /// The child at a place in document order; null when `index` is out of range. Constant time.
  virtual SmartPointer<DataSection> child(int index) const = 0;

  /// The first child with that tag (a plain tag, not a path); null when there is none.
  virtual SmartPointer<DataSection> findChild(BasicStringRef tag) const = 0;

  /// Identifies the document's current content; equal stamps mean equal content. 0 if unsupported.
  virtual std::uint64_t contentStamp() const { return 0; }

  /// The bytes that a save of the whole document would write now. Empty if unsupported.
  virtual std::string bytes() const { return {}; }

  /// What a derivation makes of this section; never null. It is computed when it is asked for, and given
  /// again as long as the document's content stays the same; a format may compute it each time. What the
  /// function throws is passed on, and nothing is kept then.
  template <class Value>
  std::shared_ptr<const Value> derived(const Derivation<Value>& derivation) const {
    return std::static_pointer_cast<const Value>(derivedValue(derivation));
  }

  /// The place of the first child, from `first` on, whose own child `key` (a plain tag) reads as `value`; an
  /// absent one reads as empty. -1 when there is none, and when `first` is below 0.
  virtual int findChildWith(BasicStringRef key, BasicStringRef value, int first = 0) const;

  /// Adds an empty element behind the last child; null when `tag` cannot name an element.
  virtual SmartPointer<DataSection> appendChild(BasicStringRef tag) = 0;

  /// Removes the given child; false when it is null or no child of this section.
  virtual bool removeChild(const SmartPointer<DataSection>& child) = 0;

  /// Removes the first child with that tag; false when there is none.
  virtual bool removeChild(BasicStringRef tag) = 0;

  /// Removes every child.
  virtual void removeChildren() = 0;

  /// Writes the whole document to a file: with an empty name to the one that it was read from, else to that
  /// resource. The file is replaced atomically, and only when its content changes. False if the write fails,
  /// after one critical message. The file then has its complete old content, or the new content if only the
  /// final flush failed. The edits stay in the document. Inside a SaveGroup, true only means that the write
  /// is queued for the commit.
  virtual bool save(BasicStringRef fileName = {}) = 0;

  /// @}
  /// @name Children
  /// @{

  DataSectionIterator begin() const { return {this, 0}; }
  DataSectionIterator end() const { return {this, childCount()}; }

  /// The section at the path `name`. If it is absent: null when `create` is false, else all missing steps of
  /// the path are made, the last one by `creator` unless that is null. Null also when `name` cannot name an
  /// element.
  SmartPointer<DataSection> openSection(BasicStringRef name, bool create = false,
                                        DataSectionCreator* creator = nullptr);

  /// Removes the first section at the path, or every section with that last step; nothing happens when it is
  /// absent.
  void deleteSection(BasicStringRef name);
  void deleteSections(BasicStringRef name);

  /// @}
  /// @name Values of children
  /// Reading yields `defaultValue` when the child is absent, and for numbers also when its text is not one
  /// number of the type, or out of its range. Writing creates a missing child and leaves a child with an
  /// equal value unchanged. Text is compared without surrounding white space, numbers by value. It gives
  /// false when `key` cannot name a child or the format cannot hold the value (see setValue; a float must be
  /// finite); then nothing changes, and no child is made.
  /// @{

  /// `flags` has no effect.
  std::string readString(BasicStringRef key, BasicStringRef defaultValue = {}, int flags = 0) const;
  int readInt(BasicStringRef key, int defaultValue = 0) const;
  float readFloat(BasicStringRef key, float defaultValue = 0.0F) const;
  /// Three numbers separated by white space.
  Vector3 readVector3(BasicStringRef key, const Vector3& defaultValue = Vector3::zero()) const;

  bool writeString(BasicStringRef key, BasicStringRef value);
  bool writeInt(BasicStringRef key, int value);
  /// In the shortest form that reads back equal.
  bool writeFloat(BasicStringRef key, float value);
  bool writeVector3(BasicStringRef key, const Vector3& value);

  /// @}

 protected:
  DataSection();
  ~DataSection() override;

  /// See derived.
  virtual std::shared_ptr<const void> derivedValue(const AnyDerivation& derivation) const;

  /// Gives the value of the section at a path, as a view that is valid until the next change of the section
  /// or of `scratch`. False when it is absent. Sections that can read without making handles override it.
  virtual bool readValue(BasicStringRef path, std::string& scratch, BasicStringRef& value) const;

  /// Whether `tag` can name an element, and whether `value` can be an element's text.
  virtual bool canName(BasicStringRef tag) const;
  virtual bool canHold(BasicStringRef value) const;

  /// Removes every child with that tag.
  virtual void removeEvery(BasicStringRef tag);

 private:
  /// Makes every section of a path whose first step is no child of this one.
  SmartPointer<DataSection> makeSection(BasicStringRef path, DataSectionCreator* creator);
  /// Gives this empty section the value of `pattern` and copies of everything below it.
  void copyContent(const DataSection& pattern);
  /// The section that the last step of a path starts from; null when it is absent or the path has no step.
  SmartPointer<DataSection> parentOf(BasicStringRef path, BasicStringRef& lastStep);
  template <class IsSame>
  bool writeText(BasicStringRef key, BasicStringRef text, const IsSame& isSame);
};

}  // namespace Tal
