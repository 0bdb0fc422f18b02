// The properties that this program gives the camera, lights, scenes, camera animations and metadata.
#pragma once

#include <array>

namespace q7send {

namespace entity {

inline constexpr char16_t name[] = u"Name";
inline constexpr char16_t position[] = u"Position";
inline constexpr char16_t direction[] = u"Direction";
inline constexpr char16_t up[] = u"Up";
inline constexpr char16_t fieldOfView[] = u"FieldOfView";
inline constexpr char16_t aspectRatio[] = u"AspectRatio";
inline constexpr char16_t nearPlane[] = u"NearPlane";
inline constexpr char16_t farPlane[] = u"FarPlane";
inline constexpr char16_t orthographicWidth[] = u"OrthographicWidth";
inline constexpr char16_t type[] = u"Type";
inline constexpr char16_t color[] = u"Color";
inline constexpr char16_t intensity[] = u"Intensity";
inline constexpr char16_t attenuation[] = u"Attenuation";
inline constexpr char16_t innerAngle[] = u"InnerAngle";
inline constexpr char16_t outerAngle[] = u"OuterAngle";
inline constexpr char16_t size[] = u"Size";
inline constexpr char16_t group[] = u"Group";
inline constexpr char16_t camera[] = u"Camera";
inline constexpr char16_t generator[] = u"Generator";
inline constexpr char16_t nodes[] = u"Nodes";
inline constexpr char16_t materials[] = u"Materials";
inline constexpr char16_t triangles[] = u"Triangles";
inline constexpr char16_t cameras[] = u"Cameras";
inline constexpr char16_t lights[] = u"Lights";
// Its first character sorts it before the others: an answer that does not arrive whole has it all the same.
inline constexpr char16_t sendToken[] = u"$q7SendToken";

}  // namespace entity

struct EntityPropertyDescription {
    const char16_t* name;
    const char* owners;  // c camera, s scenes, l lights, a camera animations, m metadata
    const char* meaning;
};

inline constexpr std::array<EntityPropertyDescription, 25> entityPropertyDescriptions{{
    {entity::name, "cslam", "text: its name in the file; of the metadata, that of the file"},
    {entity::position, "csl", "x, y, z in the world"},
    {entity::direction, "csl", "to where it looks or shines, of the length 1"},
    {entity::up, "csl", "what is up in its view, of the length 1"},
    {entity::fieldOfView, "cs", "number: degrees from left to right"},
    {entity::aspectRatio, "cs", "number: width by height, where the file tells it"},
    {entity::nearPlane, "cs", "number: distance from which on it sees"},
    {entity::farPlane, "cs", "number: distance up to which it sees"},
    {entity::orthographicWidth, "cs", "number: width of its view, without perspective"},
    {entity::type, "l", "text: Point, Directional, Spot, Ambient or Area"},
    {entity::color, "l", "red, green, blue; the largest is 1"},
    {entity::intensity, "l", "number: factor of the color"},
    {entity::attenuation, "l", "constant, linear, quadratic"},
    {entity::innerAngle, "l", "number: degrees, of a Spot"},
    {entity::outerAngle, "l", "number: degrees, of a Spot"},
    {entity::size, "l", "width, height, of an Area"},
    {entity::group, "l", "text: id of a group, which is the node above it"},
    {entity::camera, "a", "text: the camera that moves"},
    {entity::generator, "m", "text: this program and its version"},
    {entity::nodes, "m", "number, as are the following"},
    {entity::materials, "m", ""},
    {entity::triangles, "m", ""},
    {entity::cameras, "m", ""},
    {entity::lights, "m", ""},
    {entity::sendToken, "m", "text: new in each message, to be given back with the rest"},
}};

}  // namespace q7send
