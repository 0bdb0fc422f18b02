// Reads the text of typed materials: docs/formats/material_xml.md.
#pragma once

#include <vector>

#include "support/text.h"

namespace q7tools {

struct MaterialProperty {
    WideString element;    // the element's name, in which "--" stands for a blank
    bool hasText = false;  // false for an empty tag
    WideString text;       // with its entities resolved
};

struct TypedMaterial {
    WideString id;
    WideString type;
    std::vector<MaterialProperty> properties;
};

// Whether a material's text claims to be that of a typed material; all others are free text.
bool isTypedMaterial(WideView xml);

// Throws FormatError when the text is not in the layout of typed materials, line by line; its
// offset counts the text's bytes, two for each unit.
TypedMaterial readTypedMaterial(WideView xml);

}  // namespace q7tools
