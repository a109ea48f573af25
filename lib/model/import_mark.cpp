#include <core/smart_pointer.h>
#include <files/fingerprint.h>
#include <model/import_mark.h>
#include <resources/data_section.h>
#include <resources/number_text.h>

#include <charconv>
#include <system_error>

namespace Tal {

ImportMark importMarkFor(BasicStringRef geometry) {
  const files::Fingerprint fingerprint = files::fingerprintOf(geometry);
  return {ImportMark::kVersion, fingerprint.size, files::hashText(fingerprint)};
}

std::optional<ImportMark> importMarkIn(const DataSection& visual) {
  const SmartPointer<DataSection> import = visual.findChild("import");
  const std::string text = import ? import->attribute("version") : std::string();
  std::optional<int> version = parseInt(text);
  // A number of another form is that of a version that is to come.
  if (!version && !text.empty() && text.front() >= '0' && text.front() <= '9')
    version = ImportMark::kVersion + 1;
  if (!version || *version < 1) return std::nullopt;
  ImportMark mark{*version, 0, import->readString("geometry/fingerprint")};
  const std::string size = import->readString("geometry/size");
  const auto [end, error] = std::from_chars(size.data(), size.data() + size.size(), mark.geometrySize);
  const bool isSize = error == std::errc() && end == size.data() + size.size();
  // What a newer version writes there is not for this one to judge.
  return isSize || *version > ImportMark::kVersion ? std::optional(mark) : std::nullopt;
}

}  // namespace Tal
