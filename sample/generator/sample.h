#pragma once

#include <filesystem>

namespace sample {

/// Writes the glTF files of the sample to FOLDER/source and imports them to FOLDER/content. What is there of
/// them is replaced; other files stay. Throws std::runtime_error with one line that says what failed.
void generateSample(const std::filesystem::path& folder);

}  // namespace sample
