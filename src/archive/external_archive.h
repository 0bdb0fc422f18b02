// The archive of a file that the host has made itself, with the session's materials and their textures.
#pragma once

#include "env/file_utilities.h"
#include "model/session_core.h"
#include "support/text.h"

// Makes the archive; the session stays as it is. The file becomes the entry "1." and its extension:
// what stands behind the last dot of its name, or the whole name. When the file cannot be opened, the
// entry is empty.
// copy: what copies the file
// False, with a line on standard error, when the archive could not be made.
bool saveExtToQ7a(const SessionCore& session, const WideString& externalFile,
                  const WideString& archive,
                  bool (*copy)(const WideString& source, const WideString& target) = copyFile);
