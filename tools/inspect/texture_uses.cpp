#include "inspect/texture_uses.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "common/image_names.h"
#include "common/text_output.h"

namespace q7inspect {

using q7tools::allToUtf8;
using q7tools::ZipEntry;

namespace {

std::string smallLetters(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

class TextureLookup {
  public:
    explicit TextureLookup(const std::vector<ZipEntry>& entries) {
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const std::string& path = entries[i].name;
            if (!path.starts_with(textureFolder) || entries[i].isFolder()) continue;
            const std::string name = path.substr(textureFolder.size());
            exact_.emplace(name, i);
            small_.emplace(smallLetters(name), i);
        }
    }

    std::optional<std::size_t> find(const std::string& name) const {
        if (const auto entry = exact_.find(name); entry != exact_.end()) return entry->second;
        if (const auto entry = small_.find(smallLetters(name)); entry != small_.end()) {
            return entry->second;
        }
        return std::nullopt;
    }

  private:
    std::unordered_map<std::string, std::size_t> exact_;
    std::unordered_map<std::string, std::size_t> small_;
};

std::optional<TextureUse> useOf(const WideString& material,
                                const q7tools::MaterialProperty& property,
                                const TextureLookup& lookup) {
    const std::size_t separator = property.text.find_last_of(u"/\\");
    const bool hasFolder = separator != WideString::npos;
    const std::string name =
        allToUtf8(WideView(property.text).substr(hasFolder ? separator + 1 : 0));
    if (name.empty()) return std::nullopt;
    TextureUse use{material, property.element, property.text, lookup.find(name),
                   q7tools::isImageName(property.text)};
    if (!use.entry && !use.isImage && !hasFolder) return std::nullopt;
    return use;
}

}  // namespace

std::vector<TextureUse> findTextureUses(const MaterialFile& file,
                                        const std::vector<ZipEntry>& entries) {
    std::vector<TextureUse> uses;
    if (!file.hasRoot) return uses;
    const TextureLookup lookup(entries);
    for (const ListedMaterial& material : file.materials) {
        if (!material.typed) continue;
        for (const q7tools::MaterialProperty& property : material.typed->properties) {
            if (auto use = useOf(material.typed->id, property, lookup)) {
                uses.push_back(std::move(*use));
            }
        }
    }
    return uses;
}

std::string comparablePath(WideView path) {
    const std::string text = smallLetters(allToUtf8(replaceUnit(path, u'\\', u'/')));
    std::vector<std::string_view> parts;
    std::string_view rest = text;
    for (bool isLast = false; !isLast;) {
        const std::size_t slash = rest.find('/');
        isLast = slash == std::string_view::npos;
        const std::string_view part = rest.substr(0, slash);
        if (!isLast) rest.remove_prefix(slash + 1);
        if (part == ".." && !parts.empty() && parts.back() != "..") {
            parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
    }
    std::string out = text.starts_with('/') ? "/" : "";
    for (const std::string_view part : parts) {
        if (!out.empty() && out.back() != '/') out += '/';
        out += part;
    }
    return out;
}

std::vector<std::pair<std::size_t, std::size_t>> findCollisions(
    const std::vector<TextureUse>& uses) {
    struct Seen {
        std::size_t first = 0;
        std::unordered_set<std::string> paths;
    };
    std::unordered_map<std::size_t, Seen> seenOf;
    std::vector<std::pair<std::size_t, std::size_t>> collisions;
    for (std::size_t i = 0; i < uses.size(); ++i) {
        if (!uses[i].entry) continue;
        Seen& seen = seenOf.try_emplace(*uses[i].entry, Seen{i, {}}).first->second;
        const bool isNew = seen.paths.insert(comparablePath(uses[i].path)).second;
        if (isNew && seen.paths.size() > 1) collisions.emplace_back(seen.first, i);
    }
    return collisions;
}

}  // namespace q7inspect
