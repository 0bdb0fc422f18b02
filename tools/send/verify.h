// Looks at what the library wrote, since it reports nothing itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

#include "common/stream_reader.h"
#include "send/output_file.h"
#include "send/scene_sender.h"

namespace q7send {

// Each throws q7tools::FileError, which names the target, unless the temporary file is complete and
// holds what was sent; otherwise they return its size. For the processed form the scene must have
// been unshared before it was sent (unshareMergeable), or its triangles are not found again.
std::uintmax_t verifyStream(const OutputFile& file, const SendTotals& sent, StreamForm form);
std::uintmax_t verifyMaterials(const OutputFile& file);

// The same for what is read already: errors name that file.
void verifyStream(const q7tools::StreamModel& model, const std::filesystem::path& target,
                  const SendTotals& sent, StreamForm form);
void verifyMaterials(std::span<const std::byte> content, const std::filesystem::path& target);

}  // namespace q7send
