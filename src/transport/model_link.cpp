#include "transport/model_link.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "link/render_socket.h"
#include "platform/shared_memory.h"
#include "support/json.h"
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

// JSON goes through UTF-8, which plain names do without: with it sending a million instances took twice
// as long.
void appendJsonString(WideString& json, WideView text) {
    if (isPlainInJson(text)) {
        json += u'"';
        json += text;
        json += u'"';
    } else {
        json += utf8ToWide(Json(wideToUtf8(text)).dump());
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

std::uint32_t countOf(std::size_t count) {
    return static_cast<std::uint32_t>(count);
}

void sendCount(std::size_t count) {
    SendWord(renderSocket(), countOf(count));
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

    // The renderer has read the block. What it says, and whether it says anything, is not looked at.
    void acknowledge() {
        // It answers about small meshes sooner than a sleeping thread wakes up, which happens ten times
        // for each of them. One that takes longer is left to its work for a while.
        constexpr auto soon = std::chrono::microseconds(50);
        constexpr int aWhile = 20;
        if (answersUntilNextLook_ > 0) {
            --answersUntilNextLook_;
        } else if (!platform::hasDataWithin(renderSocket().socket, soon)) {
            answersUntilNextLook_ = aWhile;
        }
        std::uint32_t ignored = 0;
        ReceiveWord(renderSocket(), ignored);
    }

    template <class Number>
    void write(const Array<Number>& array) {
        fromBase()(array.data(), arrayBytes(array));
    }
    template <class Number>
    void sendArray(const Array<Number>& array) {
        write(array);
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
    int answersUntilNextLook_ = 0;
};

void sendMesh(Exchange& exchange, const Mesh& mesh) {
    exchange.write(mesh.positions);
    SendStringAndWord(renderSocket(), mesh.name, countOf(mesh.positions.size()));
    exchange.acknowledge();
    exchange.sendArray(mesh.normals);
    exchange.sendArray(mesh.uvs);
    // Colours do not travel over the link; their place does.
    sendCount(0);
    exchange.acknowledge();
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
    exchange.acknowledge();

    const ByteWriter instances = exchange.fromBase();
    frameInstances(model, instances);
    sendCount(model.instances.size());
    exchange.acknowledge();

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
    exchange.acknowledge();
}

void sendModelWithPaths(const Model& model, const StreamSettings& settings,
                        const BlockView& block) {
    Exchange exchange(block);
    sendModel(exchange, model, settings);
    Q7Sync::writeWideString(instancePathsJson(model), exchange.fromBase());
    sendCount(1);
    exchange.acknowledge();
    exchange.acknowledge();
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
