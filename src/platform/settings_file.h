// Settings files: sections in brackets, keys and values with "=" between them.
#pragma once

#include "support/text.h"

namespace platform {

// The value of a key, at most 259 code units of it; empty when the file, the section or the key is
// not there. Section and key are found whatever their case; blanks around the value and one pair of
// quotes around it are dropped.
WideString readSetting(const WideString& path, const WideString& section, const WideString& key);

}  // namespace platform
