#include "materials/material_list.h"

#include <cstdio>
#include <string>

#include "platform/files.h"

WideString materialList(const Model& model, std::uint32_t materialVersion) {
    const bool typed = materialVersion == 1;
    WideString list;
    if (typed) list += u"<Q7Materials_2>\n";
    for (const auto& [name, material] : model.materials)
        list += material->toXml();
    if (typed) list += u"</Q7Materials_2>\n";
    return list;
}

void saveMaterialList(const Model& model, std::uint32_t materialVersion, const WideString& path) {
    const platform::File file = platform::openTextForWriting(path);
    if (!file) return;
    const std::string text = wideToUtf8(materialList(model, materialVersion));
    std::fwrite(text.data(), 1, text.size(), file.get());
}
