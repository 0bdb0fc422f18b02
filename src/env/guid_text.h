// Texts that nobody else has.
#pragma once

#include <string>

// A new GUID as 32 upper-case hexadecimal digits; empty when the system can make none.
std::string newGuidText();
