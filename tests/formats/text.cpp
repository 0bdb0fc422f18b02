// Names of every kind on their way through the library.
#include <gtest/gtest.h>

#include "tests/host.h"

namespace {

HostString units(std::initializer_list<unsigned> codes) {
    HostString text;
    for (const unsigned code : codes)
        text += static_cast<Q7Char>(code);
    return text;
}

WideString wide(const HostString& text) {
    return {text.begin(), text.end()};
}

}  // namespace

TEST(Text, SurrogatePairsAndLoneSurrogatesStayInTheStream) {
    for (const HostString& name : {units({0xD83D, 0xDE00}), units({0xD800}), units({0xDC00, 'x'}),
                                   units({'a', 0xDBFF}), units({0xFFFF, 0xFEFF, 1})}) {
        const Host host;
        Q7BeginNode(host.session, name.c_str(), identity.data(), name.c_str());
        host.addTriangle(name.c_str());
        Q7EndNode(host.session);
        const auto stream = host.saved();
        ASSERT_EQ(stream.meshes.size(), 1U);
        EXPECT_EQ(stream.meshes[0].name, wide(name) + u"_" + wide(name));
        EXPECT_EQ(stream.materials.at(0).name, wide(name));
        EXPECT_EQ(stream.instances.at(0).mesh, stream.meshes[0].name);
    }
}

TEST(Text, LoneSurrogatesBecomeTheReplacementCharacterWhereTextIsUtf8) {
    const Host host;
    const HostString lone = units({'a', 0xD800, 'b'});
    SetTextureFolder(host.session, lone.c_str());
    Q7SetDccPluginInfo(lone.c_str());
    Q7AddMaterial(host.session, lone.c_str());
    Q7SetMaterialStringProperty(host.session, lone.c_str(), lone.c_str(), lone.c_str());
    const auto stream = host.saved();
    EXPECT_NE(stream.headerText.find(u"\"dccPluginInfo\":\"a\uFFFDb\""), WideString::npos);
    EXPECT_NE(stream.headerText.find(u"\"textureFolder\":\"a\uFFFDb\""), WideString::npos);
    const std::string file = host.savedMaterials();
    EXPECT_NE(file.find("<id>a\xEF\xBF\xBD"
                        "b</id>"),
              std::string::npos);
    EXPECT_NE(file.find("<a\xEF\xBF\xBD"
                        "b>a\xEF\xBF\xBD"
                        "b</a\xEF\xBF\xBD"
                        "b>"),
              std::string::npos);
    // In the stream the material's text is still the host's.
    EXPECT_NE(stream.materials.at(0).xml.find(u"<id>" + wide(lone) + u"</id>"), WideString::npos);
    Q7SetDccPluginInfo(Q7T(""));
}

TEST(Text, NamesOfFiveThousandUnitsPassThrough) {
    const Host host;
    const HostString node(5000, Q7Char('n'));
    const HostString material(5000, Q7Char('/'));
    const HostString value(5000, Q7Char('&'));
    Q7SetMaterialVersion(host.session, 1);
    Q7BeginNode(host.session, node.c_str(), identity.data(), node.c_str());
    host.addTriangle(material.c_str());
    Q7EndNode(host.session);
    Q7SetMaterialStringProperty(host.session, material.c_str(), node.c_str(), value.c_str());
    const auto stream = host.saved();
    EXPECT_EQ(stream.meshes.at(0).name, wide(node) + u"_" + wide(material));
    EXPECT_EQ(stream.materials.at(0).name, WideString(5000, u'@'));
    WideString escaped;
    for (int i = 0; i < 5000; ++i)
        escaped += u"&amp;";
    EXPECT_NE(stream.materials[0].xml.find(u"<" + wide(node) + u">" + escaped + u"</"),
              WideString::npos);
}
