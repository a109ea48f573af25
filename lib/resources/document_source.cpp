#include <resources/document_source.h>

#include <limits>

namespace Tal {

Result<files::FileIdentity> DocumentSource::readPieces(const files::RootedPath& place,
                                                       const std::function<bool(BasicStringRef)>& take) {
  const auto content = read(place, std::numeric_limits<std::size_t>::max());
  if (!content) return content.fault();
  if (take(content->bytes.view())) return content->identity;
  return Fault{FaultKind::refused, "the document was not read to its end", ""};
}

}  // namespace Tal
