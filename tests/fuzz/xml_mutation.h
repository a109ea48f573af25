#pragma once

#include <fuzz/fuzz_support.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

/// The bytes that an input's document is stored as, by its parts "utf-16le" and "utf-16be".
std::string storedXml(const Input& input);

/// Changes an input whose document is XML: its bytes anyhow, or whole elements, tags and texts, so that a
/// well-formed document often stays one. Returns the new size; for LLVMFuzzerCustomMutator.
std::size_t mutateXml(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed);

}  // namespace fuzz
