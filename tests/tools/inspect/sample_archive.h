// A sound archive, of which a test changes what it wants to see reported.
#pragma once

#include <string>

#include "support/text.h"
#include "tests/tools/common/stream_builder.h"
#include "tests/tools/common/zip_builder.h"

namespace archivetest {

inline const std::string productId = "0123456789ABCDEF0123456789ABCDEF";

inline std::u16string typedXml(const std::u16string& id, const std::u16string& properties) {
    return u"<Material_2>\n    <id>" + id +
           u"</id>\n    <Type>/Game/MatLib2/Base/Base/Base_9/m.m</Type>\n" + properties +
           u"</Material_2>\n";
}

inline std::u16string textProperty(const std::u16string& name, const std::u16string& text) {
    return u"    <" + name + u">" + text + u"</" + name + u">\n";
}

// Three instances, two typed materials, two textures of which both materials use one.
inline streamtest::Scene scene() {
    streamtest::Scene scene;
    scene.materials = {
        {u"Lamp", typedXml(u"Lamp", textProperty(u"Base--Map", u"C:\\tex\\\u00e4.png") +
                                        textProperty(u"Glow", u"C:\\tex\\glow.jpg"))},
        {u"Wall", typedXml(u"Wall", textProperty(u"Mode", u"3") +
                                        textProperty(u"Base--Map", u"C:/TEX/./\u00e4.png"))}};
    return scene;
}

inline std::string streamText(const streamtest::Scene& scene) {
    const streamtest::StreamBuilder stream = scene.build();
    return std::string(ziptest::asText(stream.bytes()));
}

inline std::string materialList(const streamtest::Scene& scene) {
    std::u16string list = u"<Q7Materials_2>\n";
    for (const auto& material : scene.materials)
        list += material.xml;
    return wideToUtf8(list + u"</Q7Materials_2>\n");
}

inline std::string infoText(const std::string& ids) {
    return "{\"instanceIdArray\":[" + ids + "],\"productID\":\"" + productId + "\"}";
}

inline const std::string soundIds = "\"/a/b/Lamp\",\"/c/Wall\",\"/Wall\"";

inline ziptest::ZipBuilder archiveOf(const streamtest::Scene& scene,
                                     const std::string& ids = soundIds) {
    ziptest::ZipBuilder zip;
    zip.add("1.q7mesh", streamText(scene)).add("info.json", infoText(ids));
    zip.add("q7material.xml", materialList(scene)).folder("textures/");
    zip.add("textures/glow.jpg", "light").add("textures/\xc3\xa4.png", "pixels, many pixels");
    return zip;
}

inline ziptest::ZipBuilder soundArchive() {
    return archiveOf(scene());
}

// The same materials and textures around a file of the host's own.
inline ziptest::ZipBuilder externalArchive() {
    ziptest::ZipBuilder zip;
    zip.add("1.fbx", "of another format").add("q7material.xml", materialList(scene()));
    zip.folder("textures/").add("textures/glow.jpg", "light");
    return zip.add("textures/\xc3\xa4.png", "pixels");
}

}  // namespace archivetest
