#include "inspect/input.h"

#include <vector>

#include "common/files.h"
#include "common/text_output.h"
#include "inspect/archive_report.h"
#include "inspect/known_stream.h"

namespace q7inspect {

using q7tools::FormatError;

namespace {

InputError placed(std::string subject, const FormatError& error) {
    return {std::move(subject), q7tools::atByte(error.offset(), error.what())};
}

}  // namespace

InputError archiveError(const std::string& file, const FormatError& error) {
    if (const auto* inEntry = dynamic_cast<const EntryError*>(&error)) {
        return placed(entrySubject(file, inEntry->entry()), error);
    }
    return placed(file, error);
}

Input readInput(const std::string& file) {
    std::vector<std::byte> bytes = q7tools::readWholeFile(q7tools::pathFromUtf8(file));
    try {
        Input input;
        if (isArchive(file, bytes)) {
            input.archive.emplace(std::move(bytes));
        } else {
            input.stream = readKnownStream(bytes);
        }
        return input;
    } catch (const FormatError& error) {
        throw archiveError(file, error);
    }
}

q7tools::StreamModel readModel(const std::string& file) {
    Input input = readInput(file);
    if (input.stream) return std::move(*input.stream);
    return modelOf(file, input);
}

const q7tools::StreamModel& modelOf(const std::string& file, const Input& input) {
    if (input.stream) return *input.stream;
    if (!input.archive->model()) {
        throw InputError(file,
                         "the archive holds no model stream (" + std::string(streamEntry) + ")");
    }
    return *input.archive->model();
}

}  // namespace q7inspect
