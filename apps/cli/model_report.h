#pragma once

#include <authoring/gone_model.h>
#include <authoring/session.h>
#include <cli/table.h>

#include <string>
#include <vector>

namespace Tal::cli {

/// Everything known about a session's model, as one JSON document.
std::string modelJson(authoring::Session& session);

/// What the database holds of a model that is gone; what only its files tell is absent.
std::string modelJson(const authoring::GoneModel& gone);

/// The same for people.
std::string modelText(authoring::Session& session, const Style& style);
std::string modelText(const authoring::GoneModel& gone, const Style& style);

/// The sections with entries of a model that nevertheless has no category; else empty.
std::vector<std::string> entriesToShow(const authoring::Session& session);

/// Warnings about modules that a save would not write.
std::vector<authoring::SaveWarning> moduleWarnings(authoring::Session& session);

}  // namespace Tal::cli
