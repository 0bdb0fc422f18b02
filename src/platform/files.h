// Opening files by wide path. No program that the host starts gets them: it would keep them open.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "support/text.h"

namespace platform {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Opens for reading; null when that fails; std::bad_alloc when memory runs out. The text form turns the
// platform's line ends into "\n".
File openBinaryForReading(const WideString& path);
File openTextForReading(const WideString& path);

// Opens for writing and empties what was there; null when that fails, and then the file is as it was;
// std::bad_alloc when memory runs out. The text form turns "\n" into the platform's line end.
File openBinaryForWriting(const WideString& path);
// The same, though other programs have the file open; only Windows makes the difference.
File openSharedForWriting(const WideString& path);
File openTextForWriting(const WideString& path);

// Whether a file can be read; a folder cannot.
bool fileCanBeOpened(const WideString& path);

// The path as the standard library takes it, which may be longer than 260 characters.
std::filesystem::path nativePath(const WideString& path);

// The same path in UTF-8, for libraries that take paths so.
std::string pathInUtf8(const WideString& path);

}  // namespace platform
