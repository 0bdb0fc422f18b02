// The properties that this program gives its materials. All materials are of type 0.
#pragma once

#include <array>

#include "send/scene.h"

namespace q7send {

namespace property {

inline constexpr char16_t baseColor[] = u"BaseColor";
inline constexpr char16_t emission[] = u"Emission";
inline constexpr char16_t metalness[] = u"Metalness";
inline constexpr char16_t roughness[] = u"Roughness";
inline constexpr char16_t opacity[] = u"Opacity";
inline constexpr char16_t baseColorTexture[] = u"BaseColorTexture";
inline constexpr char16_t normalTexture[] = u"NormalTexture";
inline constexpr char16_t bumpTexture[] = u"BumpTexture";
inline constexpr char16_t metalnessTexture[] = u"MetalnessTexture";
inline constexpr char16_t roughnessTexture[] = u"RoughnessTexture";
inline constexpr char16_t metallicRoughnessTexture[] = u"MetallicRoughnessTexture";
inline constexpr char16_t specularTexture[] = u"SpecularTexture";
inline constexpr char16_t opacityTexture[] = u"OpacityTexture";
inline constexpr char16_t occlusionTexture[] = u"OcclusionTexture";
inline constexpr char16_t emissionTexture[] = u"EmissionTexture";

}  // namespace property

struct PropertyDescription {
    const char16_t* name;
    const char* meaning;
};

inline constexpr std::array<PropertyDescription, 15> propertyDescriptions{{
    {property::baseColor, "text \"#RRGGBB\": colour of the surface"},
    {property::emission, "text \"#RRGGBB\": light that it gives off; left out when black"},
    {property::metalness, "number, 0 to 1"},
    {property::roughness, "number, 0 to 1; from the shininess where the file has only that"},
    {property::opacity, "number, 0 (clear) to 1"},
    {property::baseColorTexture, "text: path of an image file, as are all that follow"},
    {property::normalTexture, "directions of the surface"},
    {property::bumpTexture, "heights of the surface"},
    {property::metalnessTexture, "metalness"},
    {property::roughnessTexture, "roughness"},
    {property::metallicRoughnessTexture, "roughness in green, metalness in blue"},
    {property::specularTexture, "colour of highlights"},
    {property::opacityTexture, "opacity"},
    {property::occlusionTexture, "ambient occlusion"},
    {property::emissionTexture, "emission"},
}};

// Red, green and blue from 0 to 1 as "#RRGGBB". Values outside are cut off; what is not a number
// counts as 0.
WideString colorText(float red, float green, float blue);

// The roughness that looks like a shininess, the exponent of a highlight.
float roughnessFromShininess(float shininess);

// Adds a number between 0 and 1, cut off where it lies outside. What is not a number adds nothing.
void addFraction(SceneMaterial& material, const char16_t* name, float value);
void addText(SceneMaterial& material, const char16_t* name, WideString value);

}  // namespace q7send
