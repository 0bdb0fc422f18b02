#include "transport/model_link.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "link/render_socket.h"
#include "platform/shared_memory.h"
#include "support/number_set.h"
#include "transport/frames.h"

namespace {

std::size_t textBytes(WideView text) {
    return text.size() * sizeof(char16_t);
}

template <class Number>
std::size_t arrayBytes(const Array<Number>& array) {
    return array.size() * sizeof(Number);
}

std::size_t materialBytes(const Model& model) {
    std::size_t bytes = 0;
    for (const auto& [name, material] : model.materials) {
        bytes += textBytes(material->getName()) + textBytes(material->toXml()) + 8;
    }
    return bytes;
}

std::size_t instanceBytes(const Model& model) {
    std::size_t bytes = 0;
    MaterialNames names;
    for (const auto& instance : model.instances) {
        bytes += textBytes(instance->mesh->name) + textBytes(names.of(*instance)) + 72;
    }
    return bytes;
}

std::size_t longestArrayBytes(const Model& model) {
    std::size_t longest = 0;
    for (const auto& [name, mesh] : model.meshes) {
        longest = std::max({longest, arrayBytes(mesh->positions), arrayBytes(mesh->normals),
                            arrayBytes(mesh->uvs), arrayBytes(mesh->colors),
                            mesh->indices.size() * sizeof(IndexList::Index)});
    }
    return longest;
}

// As the JSON library prints a string. It takes the text once around through UTF-8, which plain names
// do without: with it sending a million instances took twice as long.
void appendJsonString(WideString& json, WideView text) {
    const auto isPlain = [](char16_t unit) {
        return unit >= u' ' && unit < 0x7F && unit != u'"' && unit != u'\\';
    };
    if (std::all_of(text.begin(), text.end(), isPlain)) {
        json += u'"';
        json += text;
        json += u'"';
    } else {
        json += utf8ToWide(nlohmann::json(wideToUtf8(text)).dump());
    }
}

// The meshes that instances use, each once.
std::vector<const Mesh*> referencedMeshes(const Model& model) {
    NumberSet seen;
    std::vector<const Mesh*> meshes;
    for (const auto& instance : model.instances) {
        const auto address = reinterpret_cast<std::uint64_t>(instance->mesh);
        if (seen.insert(address)) meshes.push_back(instance->mesh);
    }
    return meshes;
}

void sendCount(std::size_t count) {
    SendWord(renderSocket(), static_cast<std::uint32_t>(count));
}

// The renderer has read the block. What it says, and whether it says anything, is not looked at.
void acknowledge() {
    std::uint32_t ignored = 0;
    ReceiveWord(renderSocket(), ignored);
}

// One exchange: every step starts at the block's base again.
class Exchange {
  public:
    explicit Exchange(const BlockView& block) : block_(block) {}

    // A writer from the base on.
    ByteWriter fromBase() {
        cursor_ = block_();
        return Q7Sync::toShareMem(cursor_);
    }

    template <class Number>
    void sendArray(const Array<Number>& array) {
        fromBase()(array.data(), arrayBytes(array));
        sendCount(array.size());
        acknowledge();
    }
    void sendIndices(const IndexList& indices) {
        const ByteWriter writer = fromBase();
        indices.forEachPiece([&](const IndexList::Index* piece, std::size_t count) {
            writer(piece, count * sizeof *piece);
        });
        sendCount(indices.size());
        acknowledge();
    }

  private:
    const BlockView& block_;
    std::span<std::byte> cursor_;
};

void sendMesh(Exchange& exchange, const Mesh& mesh) {
    SendString(renderSocket(), mesh.name);
    exchange.sendArray(mesh.positions);
    exchange.sendArray(mesh.normals);
    exchange.sendArray(mesh.uvs);
    // Colours do not travel over the link; their place does.
    sendCount(0);
    acknowledge();
    exchange.sendIndices(mesh.indices);
}

// All that the two forms have in common.
void sendModel(Exchange& exchange, const Model& model, const StreamSettings& settings) {
    SendWord(renderSocket(), static_cast<std::uint32_t>(model.modelVersion));
    SendString(renderSocket(), Q7Sync::headerJson(model, settings));

    const ByteWriter materials = exchange.fromBase();
    for (const auto& [name, material] : model.materials)
        frameMaterial(*material, materials);
    sendCount(model.materials.size());
    acknowledge();

    const ByteWriter instances = exchange.fromBase();
    frameInstances(model, instances);
    sendCount(model.instances.size());
    acknowledge();

    const std::vector<const Mesh*> meshes = referencedMeshes(model);
    sendCount(meshes.size());
    for (const Mesh* mesh : meshes)
        sendMesh(exchange, *mesh);
}

}  // namespace

WideString instancePathsJson(const Model& model) {
    WideString json = u"{\"instance_paths\":[";
    MaterialNames names;
    WideString path;
    for (const auto& instance : model.instances) {
        if (json.back() != u'[') json += u',';
        path = instance->path;
        path += u'/';
        path += names.of(*instance);
        appendJsonString(json, path);
    }
    json += u"]}";
    return json;
}

std::uint32_t modelBlockSize(const Model& model) {
    const std::size_t paths = textBytes(instancePathsJson(model)) + 4;
    return static_cast<std::uint32_t>(
        std::max({materialBytes(model), instanceBytes(model), longestArrayBytes(model), paths}));
}

void sendModelRaw(const Model& model, const StreamSettings& settings, const BlockView& block) {
    Exchange exchange(block);
    sendModel(exchange, model, settings);
    acknowledge();
}

void sendModelWithPaths(const Model& model, const StreamSettings& settings,
                        const BlockView& block) {
    Exchange exchange(block);
    sendModel(exchange, model, settings);
    Q7Sync::writeWideString(instancePathsJson(model), exchange.fromBase());
    sendCount(1);
    acknowledge();
    acknowledge();
}

void sendThroughBlock(const Model& model, const StreamSettings& settings, LinkForm form) {
    if (model.instances.empty()) return;
    const std::uint32_t size = modelBlockSize(model);
    std::optional<platform::CreatedBlock> block;
    block.emplace(platform::CreatedBlock::create(modelBlockName, size));
    if (block->alreadyExisted()) {
        // The renderer or an earlier send still holds one: let go of it, and take what comes.
        block.reset();
        block.emplace(platform::CreatedBlock::create(modelBlockName, size));
    }
    form(model, settings, [&block] { return block->view(); });
}
