// What the renderer's installer left in the system's records.
#pragma once

#include <array>
#include <optional>

#include "platform/path_separator.h"
#include "support/text.h"

namespace platform {

// The places to look, in their order. Windows: the uninstall key under the current user, then under
// the local machine. POSIX: q7_render/install.ini under $XDG_DATA_HOME (default ~/.local/share), then
// under each of $XDG_DATA_DIRS (default /usr/local/share:/usr/share) as one place.
enum class InstallationRoot { CurrentUser, LocalMachine };
inline constexpr std::array installationRoots = {InstallationRoot::CurrentUser,
                                                 InstallationRoot::LocalMachine};

// The record's "DisplayIcon" (POSIX: that key of section "Q7 Render"), at most 260 bytes of it, up to
// the first zero; nothing when there is no such record.
std::optional<WideString> installedDisplayIcon(InstallationRoot root);

}  // namespace platform
