#pragma once

#include <string>
#include <vector>

namespace bench {

/// A database as another editor stores it: other bytes, the same models.
struct FileVariant {
  std::string name;          ///< short, as part of a benchmark's name
  std::string bytes;         ///< of the file
  bool isConverted = false;  ///< every byte that is saved is made from another
};

/// The text of makeDatabase in every variant: with CRLF line ends, behind a processing instruction, with a
/// CDATA section in the last entry, with a DOCTYPE, in Latin-1 with letters that are not ASCII, in UTF-16.
std::vector<FileVariant> fileVariantsOf(const std::string& text);

}  // namespace bench
