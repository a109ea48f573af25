#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzz {

/// Changes an input whose document is JSON: its bytes anyhow, or whole values, so that it often stays JSON.
/// Returns the new size; for LLVMFuzzerCustomMutator.
std::size_t mutateJson(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed);

}  // namespace fuzz
