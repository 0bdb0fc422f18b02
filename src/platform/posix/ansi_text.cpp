#include "platform/ansi_text.h"

namespace platform {

WideString ansiToWide(std::string_view text) {
    return utf8ToWide(text);
}

}  // namespace platform
