// The separator of the paths that the library composes and splits.
#pragma once

namespace platform {

#if defined(_WIN32)
inline constexpr char16_t pathSeparator = u'\\';
#else
inline constexpr char16_t pathSeparator = u'/';
#endif

}  // namespace platform
