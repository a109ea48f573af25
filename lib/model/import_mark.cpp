#include <core/smart_pointer.h>
#include <model/import_mark.h>
#include <resources/bytes/fingerprint.h>
#include <resources/data_section.h>
#include <resources/number_text.h>

#include <charconv>

namespace Tal {

ImportMark importMarkFor(BasicStringRef geometry) {
  const Fingerprint fingerprint = fingerprintOf(PiecedText(geometry));
  return {ImportMark::kVersion, fingerprint.size, hashText(fingerprint)};
}

std::optional<ImportMark> importMarkIn(const DataSection& visual) {
  const SmartPointer<DataSection> import = visual.findChild("import");
  const std::optional<int> version = import ? parseInt(import->attribute("version")) : std::nullopt;
  if (!version || *version < 1) return std::nullopt;
  ImportMark mark{*version, 0, import->readString("geometry/fingerprint")};
  const std::string size = import->readString("geometry/size");
  std::from_chars(size.data(), size.data() + size.size(), mark.geometrySize);
  return mark;
}

}  // namespace Tal
