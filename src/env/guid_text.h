// Texts that nobody else has.
#pragma once

#include <optional>
#include <string>

#include "platform/guid.h"

// A new GUID as 32 upper-case hexadecimal digits; empty when the system can make none.
std::string newGuidText();

// The GUID's digits; none for none.
std::string guidText(const std::optional<platform::Guid>& guid);
