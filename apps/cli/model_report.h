#pragma once

#include <authoring/session.h>
#include <cli/table.h>

#include <string>

namespace Tal::cli {

/// Everything that is known of a session's model, as one JSON document.
std::string modelJson(authoring::Session& session);

/// The same for people.
std::string modelText(authoring::Session& session, const Style& style);

}  // namespace Tal::cli
