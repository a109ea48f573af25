#pragma once

#include <resources/documents/file_documents.h>

#include <chrono>

/// How long a save waits for another program, for the length of a scope.
class SavePatience {
 public:
  explicit SavePatience(std::chrono::milliseconds patience) { Tal::FileDocuments::setPatience(patience); }
  ~SavePatience() { Tal::FileDocuments::setPatience(std::chrono::seconds(10)); }
  SavePatience(const SavePatience&) = delete;
  SavePatience& operator=(const SavePatience&) = delete;
};
