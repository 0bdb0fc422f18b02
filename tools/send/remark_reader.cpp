#include "send/remark_reader.h"

#include <assimp/metadata.h>

#include "send/clean_text.h"

namespace q7send {

void readRemarks(const aiScene& source, Scene& scene) {
    const aiMetadata* metadata = source.mMetaData;
    if (metadata == nullptr) return;
    for (unsigned i = 0; i < metadata->mNumProperties; ++i) {
        const aiMetadataEntry& entry = metadata->mValues[i];
        if (entry.mType != AI_AISTRING || entry.mData == nullptr) continue;
        const auto& text = *static_cast<const aiString*>(entry.mData);
        scene.remarks.emplace_back(cleanText(metadata->mKeys[i].C_Str()), cleanText(text.C_Str()));
    }
}

}  // namespace q7send
