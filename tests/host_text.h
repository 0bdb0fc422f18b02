// Literals in the host's character type.
#pragma once

#if defined(_WIN32)
#define Q7T(text) L##text
#else
#define Q7T(text) u##text
#endif
