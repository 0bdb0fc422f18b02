#include "materials/xml_printer.h"

void XMLPrinter::OpenElement(WideView name) {
    sealStartTag();
    if (textDepth_ < 0 && !firstElement_) breakLine();
    openElements_.push_back(name);
    output_ += u'<';
    output_ += name;
    elementJustOpened_ = true;
    firstElement_ = false;
}

void XMLPrinter::PushText(WideView text, bool cdata) {
    textDepth_ = static_cast<int>(openElements_.size()) - 1;
    sealStartTag();
    if (cdata) {
        output_ += u"<![CDATA[";
        output_ += text;
        output_ += u"]]>";
    } else {
        printEscaped(text);
    }
}

void XMLPrinter::CloseElement() {
    const WideView name = openElements_.back();
    openElements_.pop_back();
    if (elementJustOpened_) {
        output_ += u"/>";
    } else {
        if (textDepth_ < 0) breakLine();
        output_ += u"</";
        output_ += name;
        output_ += u'>';
    }
    if (textDepth_ == static_cast<int>(openElements_.size())) textDepth_ = -1;
    if (openElements_.empty()) output_ += u'\n';
    elementJustOpened_ = false;
}

void XMLPrinter::sealStartTag() {
    if (elementJustOpened_) output_ += u'>';
    elementJustOpened_ = false;
}

void XMLPrinter::breakLine() {
    output_ += u'\n';
    output_.append(4 * openElements_.size(), u' ');
}

void XMLPrinter::printEscaped(WideView text) {
    for (const char16_t unit : text) {
        switch (unit) {
            case u'&':
                output_ += u"&amp;";
                break;
            case u'<':
                output_ += u"&lt;";
                break;
            case u'>':
                output_ += u"&gt;";
                break;
            default:
                output_ += unit;
        }
    }
}
