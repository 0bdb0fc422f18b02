// A host that has set a locale with a decimal comma.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <locale>

#include "tests/host.h"

namespace {

// Sets the C locale and the C++ one to one with a decimal comma for as long as it lives.
class DecimalComma {
  public:
    DecimalComma() : before_(std::setlocale(LC_ALL, nullptr)) {
        for (const char* name : {"de_DE.UTF-8", "German_Germany.1252", "German"}) {
            if (std::setlocale(LC_ALL, name)) break;
        }
        std::locale::global(std::locale(std::locale(), new Comma));
    }
    ~DecimalComma() {
        std::locale::global(std::locale::classic());
        std::setlocale(LC_ALL, before_.c_str());
    }

  private:
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::string before_;
};

void describeNumbers(const Host& host) {
    Q7AddMaterial(host.session, Q7T("m"));
    Q7SetMaterialFloatProperty(host.session, Q7T("m"), Q7T("f"), 1234.5F);
    Q7SetMaterialFloatProperty(host.session, Q7T("m"), Q7T("e"), 1e10F);
    Q7SetMaterialIntProperty(host.session, Q7T("m"), Q7T("i"), 1234567);
    host.addNode(Q7T("node"), {Q7T("m")});
    std::vector<float> soup(9 * 1500);
    MaxBeginNode(host.session, Q7T("large"), identity.data());
    MaxAddTriangles(host.session, Q7T("m"), 1500, soup.data(), nullptr, nullptr, CoordOrder::XYZ);
    MaxEndNode(host.session);
}

}  // namespace

TEST(Locale, ADecimalCommaChangesNoByte) {
    const Host plain;
    describeNumbers(plain);
    const std::string stream = plain.savedBytes();
    const std::string materials = plain.savedMaterials();

    const DecimalComma comma;
    char printed[16];
    std::snprintf(printed, sizeof printed, "%.1f", 0.5);
    ASSERT_STREQ(printed, "0,5") << "no locale with a decimal comma is there to test with";
    const Host host;
    describeNumbers(host);
    EXPECT_EQ(host.savedBytes(), stream);
    EXPECT_EQ(host.savedMaterials(), materials);
    EXPECT_NE(materials.find("<f>1234.5</f>"), std::string::npos);
}
