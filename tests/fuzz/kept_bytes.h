#pragma once

#include <fuzz/element_bytes.h>

#include <cstddef>
#include <string>
#include <vector>

namespace fuzz {

/// What one edit did to one element.
struct Edit {
  ElementBytes::Path element;
  std::vector<bool> removed =
      {};                 ///< by place of the child before the edit; a missing place stands for false
  std::size_t added = 0;  ///< children that came behind the last
  bool isTextSet = false;
};

/// The text of a file in UTF-8, whatever the file's encoding is.
std::string textOf(const std::string& bytes);

/// Requires that a document kept what an edit did not touch, as its bytes before and after tell.
void requireKept(const std::string& before, const std::string& after, const Edit& edit);

}  // namespace fuzz
