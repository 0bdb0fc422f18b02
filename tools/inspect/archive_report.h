// What an archive holds, for people and for programs.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "inspect/archive.h"

namespace q7inspect {

// How a part of an archive is named to the user.
std::string entrySubject(std::string_view fileName, std::string_view entry);

// Prints every row of every table when `all` is set, and the first of them otherwise. The summary
// of the model stream, if there is one, comes last.
void printArchiveSummary(std::ostream& out, std::string_view fileName, const Archive& archive,
                         bool all);

// One JSON object. The member "stream" is what printJson gives for the model stream, or null.
void printArchiveJson(std::ostream& out, std::string_view fileName, const Archive& archive);

}  // namespace q7inspect
