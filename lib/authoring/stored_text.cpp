#include <authoring/outcome.h>
#include <authoring/stored_text.h>
#include <core/display_text.h>
#include <core/white_space.h>
#include <resources/storable_text.h>

namespace Tal::authoring {

Result<void> checkStoredText(BasicStringRef text) {
  if (!isStorable(text)) return refused("holds a control character or is not UTF-8, which XML cannot hold");
  if (trimmed(text) != text)
    return refused("has white space around it, which the database does not keep", "leave it out");
  return {};
}

Result<void> checkModelName(BasicStringRef modelName) {
  if (checkStoredText(modelName)) return {};
  return refused("the model name " + quotedName(modelName) +
                 " cannot stand in the database, which holds UTF-8 without control characters and without "
                 "white space around it");
}

}  // namespace Tal::authoring
