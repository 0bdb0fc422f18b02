// Looks at what the library wrote, since it reports nothing itself.
#pragma once

#include <cstdint>

#include "send/output_file.h"
#include "send/scene_sender.h"

namespace q7send {

// Each throws q7tools::FileError, which names the target, unless the temporary file is complete and
// holds what was sent; otherwise they return its size. For the processed form the scene must have
// been unshared before it was sent (unshareMergeable), or its triangles are not found again.
std::uintmax_t verifyStream(const OutputFile& file, const SendTotals& sent, StreamForm form);
std::uintmax_t verifyMaterials(const OutputFile& file);

}  // namespace q7send
