#include "link/render_install.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <vector>

#include "link/link_state.h"
#include "platform/files.h"
#include "platform/installation_record.h"
#include "platform/settings_file.h"
#include "support/console.h"
#include "support/errors.h"

namespace {

constexpr WideView versionToExceed = u"1.7.1";

WideString pathBelow(WideView folder, std::initializer_list<WideView> names) {
    WideString path(folder);
    for (const WideView name : names) {
        path += platform::pathSeparator;
        path += name;
    }
    return path;
}

std::vector<WideView> partsOf(WideView version) {
    std::vector<WideView> parts;
    for (;;) {
        const std::size_t dot = version.find(u'.');
        parts.push_back(version.substr(0, dot));
        if (dot == WideView::npos) return parts;
        version.remove_prefix(dot + 1);
    }
}

// What the standard text-to-integer conversion makes of the text in base 10.
std::int32_t numberOf(WideView text) {
    text.remove_prefix(std::min(text.find_first_not_of(u" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+')) text.remove_prefix(1);
    const std::size_t digits = std::min(text.find_first_not_of(u"0123456789"), text.size());
    if (digits == 0) throwNotANumber();
    const std::int64_t largest = std::numeric_limits<std::int32_t>::max() + std::int64_t{negative};
    std::int64_t number = 0;
    for (const char16_t digit : text.substr(0, digits)) {
        number = number * 10 + (digit - u'0');
        if (number > largest) throwNumberTooLarge();
    }
    return static_cast<std::int32_t>(negative ? -number : number);
}

}  // namespace

WideString FindInstallFolder() {
    for (const platform::InstallationRoot root : platform::installationRoots) {
        const auto icon = platform::installedDisplayIcon(root);
        if (!icon) continue;
        WideString folder = icon->substr(0, icon->rfind(platform::pathSeparator));
        if (!folder.empty()) return folder;
    }
    return {};
}

bool IsRenderPathComplete(const WideString& folder) {
    return platform::fileCanBeOpened(launcherPath(folder)) &&
           platform::fileCanBeOpened(pathBelow(folder, {u"q7_view.exe"})) &&
           platform::fileCanBeOpened(
               pathBelow(folder, {u"q7_engine", u"Binaries", u"Win64", u"q7_engine.exe"}));
}

bool SetRenderPath(const WideString& folder) {
    WideString& path = linkState().renderPath;
    path = IsRenderPathComplete(folder) ? folder : FindInstallFolder();
    return !path.empty();
}

WideString launcherPath(const WideString& folder) {
    return pathBelow(folder, {u"q7_launcher.exe"});
}

WideString settingsPath(const WideString& folder) {
    return pathBelow(folder, {u"config.ini"});
}

WideString ReadInstalledVersion() {
    return platform::readSetting(settingsPath(FindInstallFolder()), u"Version",
                                 u"InstallerVersion");
}

bool IsInstalledVersionUsable() {
    printLine(wideToUtf8(ReadInstalledVersion()));
    return ReadInstalledVersion() > versionToExceed;
}

bool IsVersionAtLeast(WideView version, WideView wanted) {
    const std::vector<WideView> parts = partsOf(version);
    const std::vector<WideView> wantedParts = partsOf(wanted);
    // Characters on one side and parts on the other: renderers have always been told apart so.
    const std::size_t passes = std::min(version.size(), wantedParts.size());
    for (std::size_t i = 0; i < passes; ++i) {
        const std::int32_t part = i < parts.size() ? numberOf(parts[i]) : 0;
        const std::int32_t wantedPart = numberOf(wantedParts[i]);
        if (part != wantedPart) return part > wantedPart;
    }
    return true;
}
