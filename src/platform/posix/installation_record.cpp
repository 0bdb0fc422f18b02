#include "platform/installation_record.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/settings_file.h"

namespace platform {
namespace {

constexpr std::size_t longestRecord = 260;

std::string environmentVariable(const char* name) {
    // Safe beside everything but a change of the environment, which no thread should make.
    const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? "" : value;
}

WideString shortened(const WideString& value) {
    std::string bytes = wideToUtf8(value);
    if (bytes.size() <= longestRecord) return value;
    std::size_t end = longestRecord;
    // Not in the middle of a character.
    while ((static_cast<unsigned char>(bytes[end]) & 0xC0) == 0x80)
        --end;
    return utf8ToWide(std::string_view(bytes).substr(0, end));
}

std::optional<WideString> recordUnder(std::string_view folder) {
    // A relative path here has no meaning.
    if (!folder.starts_with('/')) return std::nullopt;
    const std::string file = std::string(folder) + "/q7_render/install.ini";
    WideString value = readSetting(utf8ToWide(file), u"Q7 Render", u"DisplayIcon");
    value.resize(std::min(value.find(u'\0'), value.size()));
    if (value.empty()) return std::nullopt;
    return shortened(value);
}

std::optional<WideString> recordOfUser() {
    const std::string folder = environmentVariable("XDG_DATA_HOME");
    if (folder.starts_with('/')) return recordUnder(folder);
    return recordUnder(environmentVariable("HOME") + "/.local/share");
}

std::optional<WideString> recordOfMachine() {
    std::string folders = environmentVariable("XDG_DATA_DIRS");
    if (folders.empty()) folders = "/usr/local/share:/usr/share";
    std::string_view left = folders;
    while (!left.empty()) {
        const std::size_t end = left.find(':');
        if (auto record = recordUnder(left.substr(0, end))) return record;
        left.remove_prefix(end == std::string_view::npos ? left.size() : end + 1);
    }
    return std::nullopt;
}

}  // namespace

std::optional<WideString> installedDisplayIcon(InstallationRoot root) {
    return root == InstallationRoot::CurrentUser ? recordOfUser() : recordOfMachine();
}

}  // namespace platform
