// The files that the program is given: a model stream, or an archive with one inside.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "common/stream_reader.h"
#include "inspect/archive.h"

namespace q7inspect {

// A file is not what it should be. what() names the place, if there is one, and the reason.
class InputError : public std::runtime_error {
  public:
    InputError(std::string subject, const std::string& reason)
        : std::runtime_error(reason), subject_(std::move(subject)) {}

    // The file and, of an archive, the entry.
    const std::string& subject() const { return subject_; }

  private:
    std::string subject_;
};

// Exactly one of the two is there.
struct Input {
    std::optional<Archive> archive;
    std::optional<q7tools::StreamModel> stream;
};

// Throws FileError when the file cannot be read, InputError when it holds neither.
Input readInput(const std::string& file);

// The stream, whichever of the two the file is. Throws InputError for an archive without one.
q7tools::StreamModel readModel(const std::string& file);

// The same of a file that has been read. The input must outlive what is given.
const q7tools::StreamModel& modelOf(const std::string& file, const Input& input);

// What is wrong inside an archive, told as of that file.
InputError archiveError(const std::string& file, const q7tools::FormatError& error);

}  // namespace q7inspect
