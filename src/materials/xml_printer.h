// Writes XML text, one element per line, by pushed calls.
#pragma once

#include <vector>

#include "support/text.h"

class XMLPrinter {
  public:
    // The name is printed as it stands; the caller keeps it alive until the element is closed.
    void OpenElement(WideView name);
    // Text of the open element, which then stays on one line. Outside of a CDATA section "&", "<" and
    // ">" become entities.
    void PushText(WideView text, bool cdata = false);
    void CloseElement();

    // What was printed so far.
    const char16_t* CStr() const { return output_.c_str(); }

  private:
    void sealStartTag();
    void breakLine();
    void printEscaped(WideView text);

    WideString output_;
    std::vector<WideView> openElements_;
    bool elementJustOpened_ = false;
    bool firstElement_ = true;
    // The depth of the element whose text was pushed; no line breaks while it is open.
    int textDepth_ = -1;
};
