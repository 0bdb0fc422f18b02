#include "send/report.h"

#include <array>
#include <charconv>

#include "common/files.h"
#include "common/text_output.h"

namespace q7send {

using q7tools::counted;

namespace {

std::string note(const std::string& text) {
    return "note: " + text + '\n';
}

std::string fixed(double value, int digits) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                   std::chars_format::fixed, digits)
                         .ptr;
    return {text.data(), end};
}

std::string deliveryText(const Delivery& delivery, std::uint64_t bytes) {
    std::string text = std::string("the renderer (") + nameOf(delivery.form) + ": " +
                       sizeText(bytes) + " of geometry in " + fixed(delivery.sent.seconds, 3) +
                       " s";
    if (delivery.sent.seconds > 0) {
        const double speed = static_cast<double>(bytes) / delivery.sent.seconds;
        text += ", " + sizeText(static_cast<std::uintmax_t>(speed)) + "/s";
    }
    return text + ')';
}

std::string pathName(const std::filesystem::path& path) {
    return q7tools::printable(q7tools::pathToUtf8(path));
}

}  // namespace

std::string sizeText(std::uintmax_t bytes) {
    if (bytes < 1000) return counted(bytes, "byte", "bytes");
    constexpr std::array<const char*, 4> units{" kB", " MB", " GB", " TB"};
    std::size_t unit = 0;
    std::uintmax_t tenths = (bytes + 50) / 100;
    for (; tenths >= 10000 && unit + 1 < units.size(); ++unit)
        tenths = (tenths + 500) / 1000;
    return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + units[unit];
}

std::string notes(const Scene& scene, const SendTotals& totals,
                  const std::optional<Archived>& archived) {
    std::string text;
    if (totals.triangles == 0) text += note("the scene has no triangles");
    if (scene.pointsAndLines > 0) {
        text +=
            note(counted(scene.pointsAndLines, "point or line", "points and lines") + " left out");
    }
    if (scene.unplaced > 0) {
        text += note(counted(scene.unplaced, "point or node", "points and nodes") +
                     " with infinite coordinates moved to the origin");
    }
    if (scene.embeddedTextures > 0 && archived) {
        const std::string embedded =
            counted(scene.embeddedTextures, "embedded texture", "embedded textures");
        if (!archived->isOnlyOutput) text += note(embedded + " in the archive only");
    } else if (scene.embeddedTextures > 0) {
        text += note(counted(scene.embeddedTextures, "embedded texture", "embedded textures") +
                     " without a file of their own left out");
    }
    if (scene.missingTextures > 0) {
        text +=
            note(counted(scene.missingTextures, "texture file", "texture files") + " not found");
    }
    if (archived && archived->displaced > 0) {
        text += note(counted(archived->displaced, "texture", "textures") +
                     " not in the archive, which has one of the same file name");
    }
    return text;
}

std::string deliveryLines(const Delivery& delivery) {
    const MessageCounts& messages = delivery.messages;
    std::string line = "messages: metadata";
    if (messages.cameras > 0) line += ", camera";
    if (messages.lights > 0) line += ", " + counted(messages.lights, "light", "lights");
    if (messages.cameras > 0) line += ", " + counted(messages.cameras, "scene", "scenes");
    if (messages.animations > 0) {
        line += ", " + counted(messages.animations, "camera animation", "camera animations") +
                " of " + counted(messages.frames, "frame", "frames");
    }
    line += '\n';
    if (!delivery.sent.isConfirmed) {
        line += note("the renderer gives no metadata back, so it is not known whether all arrived");
    }
    return line;
}

std::string closingLine(const std::filesystem::path& model, const SendTotals& totals,
                        const std::optional<Delivery>& delivery,
                        const std::vector<WrittenFile>& files) {
    std::string line = pathName(model) + ": " + counted(totals.nodes, "node", "nodes") + " (" +
                       counted(totals.duplicates, "duplicate", "duplicates") + "), " +
                       counted(totals.materials, "material", "materials") + ", " +
                       counted(totals.triangles, "triangle", "triangles");
    const char* separator = " -> ";
    if (delivery) {
        line += separator + deliveryText(*delivery, totals.geometryBytes);
        separator = ", ";
    }
    for (const WrittenFile& file : files) {
        line += separator + pathName(file.path) + " (" + sizeText(file.size);
        if (file.textures) line += ", " + counted(*file.textures, "texture", "textures");
        line += ')';
        separator = ", ";
    }
    return line + '\n';
}

}  // namespace q7send
