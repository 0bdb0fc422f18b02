#include "inspect/material_file.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "common/byte_reader.h"
#include "common/text_output.h"

namespace q7inspect {

using q7tools::allToUtf8;

namespace {

constexpr std::string_view rootStart = "<Q7Materials_2>\n";
constexpr std::string_view rootEnd = "</Q7Materials_2>\n";
constexpr std::string_view typedStart = "<Material_2>";
constexpr std::string_view typedEnd = "</Material_2>\n";

// A file that was written with CR LF has no line feed without a carriage return.
bool isCarriageForm(std::string_view text) {
    bool found = false;
    for (std::size_t at = text.find('\n'); at != std::string_view::npos;
         at = text.find('\n', at + 1)) {
        if (at == 0 || text[at - 1] != '\r') return false;
        found = true;
    }
    return found;
}

std::string withoutCarriages(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        out += text[i];
    }
    return out;
}

// How many bytes of the text become so many units. Bytes that are no UTF-8 become units that would be
// more bytes.
std::size_t bytesOf(std::string_view text, std::size_t units) {
    std::size_t low = 0;
    std::size_t high = text.size();
    while (low < high) {
        const std::size_t middle = high - (high - low) / 2;
        if (utf8ToWide(text.substr(0, middle)).size() <= units) {
            low = middle;
        } else {
            high = middle - 1;
        }
    }
    return low;
}

class ListReader {
  public:
    explicit ListReader(std::string_view file) {
        list_.hasCarriages = isCarriageForm(file);
        text_ = list_.hasCarriages ? withoutCarriages(file) : std::string(file);
    }

    MaterialFile run() {
        if (allToUtf8(utf8ToWide(text_)) != text_) add(0, "the text is not UTF-8");
        if (text_.starts_with("\xEF\xBB\xBF")) add(0, "the text starts with a byte-order mark");
        std::string_view rest = text_;
        if (rest.starts_with(rootStart)) {
            list_.hasRoot = true;
            rest.remove_prefix(rootStart.size());
            if (rest.ends_with(rootEnd)) {
                rest.remove_suffix(rootEnd.size());
            } else {
                add(text_.size(), "the text does not end with \"</Q7Materials_2>\" and a line end");
            }
        }
        split(rest);
        return std::move(list_);
    }

  private:
    void add(std::size_t at, std::string reason) {
        list_.faults.push_back({inFile(at), std::move(reason)});
    }

    // The place in the file of a place in the text without carriage returns. Walks on from the last
    // place that was asked for.
    std::uint64_t inFile(std::size_t at) {
        if (!list_.hasCarriages) return at;
        if (at < walked_) walked_ = lines_ = 0;
        lines_ += static_cast<std::size_t>(
            std::count(text_.begin() + static_cast<std::ptrdiff_t>(walked_),
                       text_.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
        walked_ = at;
        return at + lines_;
    }

    void split(std::string_view rest) {
        while (!rest.empty()) {
            std::size_t size = 0;
            if (rest.starts_with(typedStart)) {
                const std::size_t end = rest.find(typedEnd);
                size = end == std::string_view::npos ? rest.size() : end + typedEnd.size();
            } else {
                size = std::min(rest.find(typedStart), rest.size());
            }
            addMaterial(rest.substr(0, size));
            rest.remove_prefix(size);
        }
    }

    void addMaterial(std::string_view text) {
        const auto at = static_cast<std::size_t>(text.data() - text_.data());
        ListedMaterial material{inFile(at), utf8ToWide(text), std::nullopt};
        if (q7tools::isTypedMaterial(material.xml)) {
            try {
                material.typed = q7tools::readTypedMaterial(material.xml);
            } catch (const q7tools::FormatError& error) {
                const auto units = static_cast<std::size_t>(error.offset()) / sizeof(char16_t);
                add(at + bytesOf(text, units), error.what());
            }
        }
        list_.materials.push_back(std::move(material));
    }

    std::string text_;
    MaterialFile list_;
    std::size_t walked_ = 0;
    std::size_t lines_ = 0;
};

}  // namespace

MaterialFile readMaterialFile(std::span<const std::byte> bytes) {
    return ListReader({reinterpret_cast<const char*>(bytes.data()), bytes.size()}).run();
}

}  // namespace q7inspect
