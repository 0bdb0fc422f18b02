// An archive, as q7-inspect reads it.
//
// The checksums of a zip file keep most changes away from what its entries hold. So an input that does
// not start as a zip file does is taken for the entries themselves, which are packed here: each a
// byte that chooses its name, two bytes with its size, little-endian, and its data.
#include <algorithm>
#include <array>
#include <sstream>
#include <vector>

#include "fuzz/stream_checks.h"
#include "fuzz/target.h"
#include "inspect/archive.h"
#include "inspect/archive_report.h"
#include "inspect/archive_validate.h"
#include "inspect/input.h"
#include "tests/tools/common/zip_builder.h"

namespace {

using namespace q7fuzz;
using q7inspect::Archive;

constexpr std::array<const char*, 8> names = {"1.q7mesh",   "q7material.xml",  "info.json",
                                              "textures/",  "textures/a.png",  "textures/B.PNG",
                                              "1.external", "textures/c/d.txt"};

std::vector<std::byte> pack(std::span<const std::byte> input) {
    ziptest::ZipBuilder zip;
    std::uint32_t used = 0;
    while (input.size() >= 3) {
        const auto number = std::to_integer<std::size_t>(input[0]) % names.size();
        const std::size_t told =
            std::to_integer<std::size_t>(input[1]) | std::to_integer<std::size_t>(input[2]) << 8U;
        input = input.subspan(3);
        const std::size_t size = std::min(told, input.size());
        // A second entry of a name is refused before anything is read.
        if ((used >> number & 1U) == 0) {
            zip.add({.name = names[number],
                     .data = std::string(ziptest::asText(input.first(size))),
                     .method = 0});
        }
        used |= 1U << number;
        input = input.subspan(size);
    }
    return zip.bytes();
}

void requireFindings(const std::vector<q7inspect::ArchiveFault>& findings) {
    for (const q7inspect::ArchiveFault& finding : findings)
        require(!finding.reason.empty(), "a fault has no reason");
}

void inspect(const Archive& archive) {
    for (const bool all : {false, true}) {
        std::ostringstream summary;
        q7inspect::printArchiveSummary(summary, "input.q7a", archive, all);
        requireLines(summary.str());
    }
    std::ostringstream json;
    q7inspect::printArchiveJson(json, "input.q7a", archive);
    requireJson(json.str());
    const q7inspect::ArchiveFindings findings = q7inspect::checkArchive(archive);
    requireFindings(findings.faults);
    requireFindings(findings.notes);
    if (archive.model()) inspectStream(*archive.model());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::byte> input = asBytes(data, size);
    const bool isZip = size >= 2 && data[0] == 'P' && data[1] == 'K';
    std::vector<std::byte> file =
        isZip ? std::vector<std::byte>(input.begin(), input.end()) : pack(input);
    const std::size_t fileSize = file.size();
    try {
        inspect(Archive(std::move(file)));
    } catch (const q7inspect::EntryError& error) {
        require(q7inspect::archiveError("input.q7a", error).subject() == "input.q7a: 1.q7mesh",
                "an error does not name the entry");
    } catch (const q7tools::FormatError& error) {
        requireReason(error.offset(), fileSize, error.what());
    }
    return 0;
}
