// The XML texts of all materials as one text, and as a file.
#pragma once

#include <cstdint>

#include "model/model.h"
#include "support/text.h"

// The texts one after the other in the order of the model; for the version 1, of typed materials,
// between the lines of a root element.
WideString materialList(const Model& model, std::uint32_t materialVersion);

// Writes the list in UTF-8 with the platform's line ends. Nothing happens when the file cannot be
// opened; a failed write is not reported.
void saveMaterialList(const Model& model, std::uint32_t materialVersion, const WideString& path);
