#include "env/directories.h"

#include <initializer_list>

#include "env/file_utilities.h"
#include "platform/folders.h"
#include "platform/path_separator.h"

namespace {

WideString pathInAppData(std::initializer_list<WideView> names) {
    WideString path = platform::localAppDataFolder();
    for (const WideView name : names) {
        path += platform::pathSeparator;
        path += name;
    }
    return path;
}

}  // namespace

WideString launcherDataPath() {
    return pathInAppData({u"q7_launcher"});
}

WideString logDirectory() {
    const WideString path = pathInAppData({u"q7_engine", u"Saved", u"Logs", u""});
    return platform::isFolder(path) || createDirectories(path) ? path : WideString();
}
