#include <core/result.h>

namespace Tal {

void addRemedy(Fault& fault, const std::string& step) {
  fault.remedy += (fault.remedy.empty() ? "" : " and ") + step;
}

std::string placeOf(const Fault& fault) {
  if (fault.line == 0) return fault.file;
  return fault.file + ':' + std::to_string(fault.line) + ':' + std::to_string(fault.column);
}

std::string textOf(const Fault& fault) {
  const std::string place = placeOf(fault);
  std::string text = place.empty() ? fault.what : place + ": " + fault.what;
  if (!fault.remedy.empty()) text += "; " + fault.remedy;
  return text;
}

}  // namespace Tal
