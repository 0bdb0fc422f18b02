#include "materials/xml_printer.h"

#include <gtest/gtest.h>

namespace {

void printElement(XMLPrinter& printer, WideView name, WideView text) {
    printer.OpenElement(name);
    printer.PushText(text);
    printer.CloseElement();
}

std::string textOf(const XMLPrinter& printer) {
    return wideToUtf8(printer.CStr());
}

std::string printed(WideView text, bool cdata = false) {
    XMLPrinter printer;
    printer.OpenElement(u"t");
    printer.PushText(text, cdata);
    printer.CloseElement();
    return textOf(printer);
}

}  // namespace

TEST(XmlPrinter, StartsEmpty) {
    EXPECT_EQ(textOf(XMLPrinter()), "");
}

TEST(XmlPrinter, AnElementClosedAtOnceIsAnEmptyTag) {
    XMLPrinter printer;
    printer.OpenElement(u"a");
    EXPECT_EQ(textOf(printer), "<a");
    printer.CloseElement();
    EXPECT_EQ(textOf(printer), "<a/>\n");
}

TEST(XmlPrinter, AnEmptyTextGivesBothTags) {
    EXPECT_EQ(printed(u""), "<t></t>\n");
}

TEST(XmlPrinter, LaysElementsOutByDepth) {
    XMLPrinter printer;
    printer.OpenElement(u"a");
    printElement(printer, u"b", u"text");
    printer.OpenElement(u"c");
    printElement(printer, u"d", u"more");
    printer.OpenElement(u"e");
    printer.CloseElement();
    printer.CloseElement();
    printer.CloseElement();
    EXPECT_EQ(textOf(printer),
              "<a>\n"
              "    <b>text</b>\n"
              "    <c>\n"
              "        <d>more</d>\n"
              "        <e/>\n"
              "    </c>\n"
              "</a>\n");
}

TEST(XmlPrinter, BreaksNoLineBesideText) {
    XMLPrinter printer;
    printer.OpenElement(u"a");
    printer.PushText(u"x");
    printElement(printer, u"b", u"y");
    printer.PushText(u"z");
    printer.CloseElement();
    // The inner element's text ends at its own depth only; the outer text starts anew behind it.
    EXPECT_EQ(textOf(printer), "<a>x<b>y</b>z</a>\n");
}

TEST(XmlPrinter, LinesBreakAgainOnceTheTextsOwnElementIsClosed) {
    XMLPrinter kept;
    kept.OpenElement(u"a");
    kept.PushText(u"x");
    for (const auto* name : {u"b", u"c"}) {
        kept.OpenElement(name);
        kept.CloseElement();
    }
    kept.CloseElement();
    EXPECT_EQ(textOf(kept), "<a>x<b/><c/></a>\n");

    XMLPrinter replaced;
    replaced.OpenElement(u"a");
    replaced.PushText(u"x");
    printElement(replaced, u"b", u"y");
    replaced.CloseElement();
    EXPECT_EQ(textOf(replaced), "<a>x<b>y</b>\n</a>\n");
}

TEST(XmlPrinter, ASecondRootFollowsOnItsOwnLine) {
    XMLPrinter printer;
    printElement(printer, u"a", u"1");
    printer.OpenElement(u"b");
    printer.CloseElement();
    EXPECT_EQ(textOf(printer), "<a>1</a>\n\n<b/>\n");
}

TEST(XmlPrinter, EscapesOnlyTheThreeThatTextNeeds) {
    EXPECT_EQ(printed(u"a&b<c>d"), "<t>a&amp;b&lt;c&gt;d</t>\n");
    EXPECT_EQ(printed(u"&&<"), "<t>&amp;&amp;&lt;</t>\n");
    EXPECT_EQ(printed(u"\"it's\""), "<t>\"it's\"</t>\n");
    EXPECT_EQ(printed(u"\x01\t\n\u00E9\u4E2D"), "<t>\x01\t\n\u00E9\u4E2D</t>\n");
}

TEST(XmlPrinter, NeverEscapesUnitsWhoseLowBitsLookLikeOnes) {
    // 0x26, 0x3C and 0x3E plus multiples of 64.
    EXPECT_EQ(printed(u"f|~\u0126\u013C\u013E"), "<t>f|~\u0126\u013C\u013E</t>\n");
}

TEST(XmlPrinter, CdataIsNotEscaped) {
    EXPECT_EQ(printed(u"a&<b>", true), "<t><![CDATA[a&<b>]]></t>\n");
}

TEST(XmlPrinter, NamesAreNotEscaped) {
    XMLPrinter printer;
    printElement(printer, u"a<&", u"");
    EXPECT_EQ(textOf(printer), "<a<&></a<&>\n");
}

TEST(XmlPrinter, PrintsLongTextWhole) {
    for (const std::size_t length : {19U, 20U, 21U, 1019U, 1020U, 1021U, 100000U}) {
        const WideString text(length, u'x');
        EXPECT_EQ(printed(text), "<t>" + std::string(length, 'x') + "</t>\n");
    }
}

TEST(XmlPrinter, NestsDeeply) {
    XMLPrinter printer;
    for (int i = 0; i < 100; ++i)
        printer.OpenElement(u"n");
    for (int i = 0; i < 100; ++i)
        printer.CloseElement();
    const std::string text = textOf(printer);
    EXPECT_NE(text.find("\n" + std::string(4 * 99, ' ') + "<n/>\n"), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 6), "\n</n>\n");
}
