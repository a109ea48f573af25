#pragma once

#include <string>
#include <vector>

namespace support {

/// The texts between every line that is `begin` and the next that is `end`, apart from indentation: the code
/// of a page, or the part of a source that a page shows. Each is without the indentation of its first line.
std::vector<std::string> blocksBetween(const std::string& text, const std::string& begin,
                                       const std::string& end);

}  // namespace support
