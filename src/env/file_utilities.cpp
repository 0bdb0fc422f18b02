#include "env/file_utilities.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/path_separator.h"

namespace {

using platform::pathSeparator;

WideString withSeparatorBehind(WideString path) {
    if (!path.ends_with(pathSeparator)) path += pathSeparator;
    return path;
}

}  // namespace

std::size_t firstFolderIn(WideView path) {
    if constexpr (pathSeparator != u'\\') return 0;
    struct Beginning {
        WideView text;
        int names;
    };
    // The case of "UNC" does not matter.
    const auto isSame = [](char16_t unit, char16_t given) {
        return unit == given || (given >= u'a' && given <= u'z' && unit == given - u'a' + u'A');
    };
    for (const auto& [text, names] : {Beginning{u"\\\\?\\UNC\\", 2},
                                      {u"\\\\.\\UNC\\", 2},
                                      {u"\\\\?\\", 1},
                                      {u"\\\\.\\", 1},
                                      {u"\\\\", 2}}) {
        const WideView beginning = path.substr(0, text.size());
        if (!std::equal(text.begin(), text.end(), beginning.begin(), beginning.end(), isSame))
            continue;
        std::size_t end = text.size() - 1;
        for (int i = 0; i < names && end != WideView::npos; ++i)
            end = path.find(u'\\', end + 1);
        return end == WideView::npos ? path.size() : end + 1;
    }
    return 0;
}

bool createDirectories(const WideString& path) {
    const WideString folders = withSeparatorBehind(replaceUnit(path, u'/', pathSeparator));
    const std::size_t first = firstFolderIn(folders);
    // The share itself must be there.
    for (std::size_t end = folders.find(pathSeparator, first == 0 ? 0 : first - 1);
         end != WideString::npos; end = folders.find(pathSeparator, end + 1)) {
        const WideString folder = folders.substr(0, end + 1);
        if (!platform::isFolder(folder) &&
            platform::createFolder(folder) == platform::FolderCreation::Failed)
            return false;
    }
    return true;
}

WideString parentPath(const WideString& path) {
    WideView rest = path;
    if (rest.ends_with(pathSeparator)) rest.remove_suffix(1);
    return WideString(rest.substr(0, rest.rfind(pathSeparator)));
}

WideString fileName(const WideString& path) {
    return path.substr(path.rfind(pathSeparator) + 1);
}

bool copyStream(std::FILE* from, std::FILE* to) {
    if ((from && std::ferror(from) != 0) || (to && std::ferror(to) != 0)) return false;
    std::array<char, 1 << 14> piece;
    std::size_t count = piece.size();
    while (from && to && count == piece.size()) {
        count = std::fread(piece.data(), 1, piece.size(), from);
        if (std::fwrite(piece.data(), 1, count, to) != count) break;
    }
    return true;
}

bool copyFile(const WideString& source, const WideString& target) {
    const platform::File from = platform::openBinaryForReading(source);
    const platform::File to = platform::openSharedForWriting(target);
    return copyStream(from.get(), to.get());
}

bool copyFileToFolder(const WideString& source, const WideString& folder) {
    if (!platform::fileCanBeOpened(source) || !platform::isFolder(folder)) return false;
    copyFile(source, withSeparatorBehind(folder) + fileName(source));
    return true;
}

bool removeDirectoryTree(const WideString& path) {
    return platform::removeFolderTree(path);
}
