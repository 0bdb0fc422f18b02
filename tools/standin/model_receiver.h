// Receives models on a sync connection. docs/formats/link_protocol.md tells the exchange.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "common/model_notes.h"
#include "standin/connection.h"

namespace q7standin {

// One model; the object is used once.
class ModelReceiver {
  public:
    // The form that the connect word announces.
    enum class Form {
        Plain,
        WithPaths,
        // One of them, most likely with paths: the connect word tells of another model only.
        ProbablyWithPaths,
        ProbablyPlain,
    };

    ModelReceiver(Connection& connection, std::uint32_t connectWord, Form form);

    // Receives the rest of the model whose version word has been read. Gives the word that follows
    // it, nothing when the client has closed. Throws ProtocolError and what the connection throws.
    std::optional<std::uint32_t> receive(std::uint32_t version);

  private:
    struct MeshUse {
        std::uint64_t instances = 0;
        bool hasArrived = false;
    };
    struct Array {
        std::uint64_t offset = 0;  // of its count word
        std::uint32_t count = 0;
        std::span<const std::byte> bytes;
    };

    void receiveHeader();
    void receiveMaterials();
    void receiveInstances();
    void receiveMeshes();
    void receiveMesh();
    Array receiveArray(const std::string& field);
    void receiveColors(const std::string& mesh);
    void receivePaths();
    std::optional<std::uint32_t> finishPlain();
    std::optional<std::uint32_t> finishWithPaths();
    std::optional<std::uint32_t> finishAfterWaiting();

    void checkMeshName(std::uint64_t offset, const WideString& name);
    void checkCounts(const std::string& mesh, const Array& positions, const Array& normals,
                     const Array& uvs);
    void checkIndices(const std::string& mesh, const Array& positions, const Array& indices);
    bool isMerged(WideView mesh, const Array& positions, const Array& indices) const;
    void countTriangles(const WideString& mesh, const Array& indices, std::uint64_t triangles);
    void checkWhole();

    void openBlock();
    void acknowledge(const std::string& what);
    void keep(const void* data, std::size_t size);
    void keepWord(std::uint32_t word);
    void commitAndLog(const std::string& form);
    void tellNotes();
    void awaitNext();
    void tellIdleness();
    std::optional<std::uint32_t> readNextVersion();
    void protocolError(std::uint64_t offset, const std::string& text);

    Connection& connection_;
    Services& services_;
    ConnectionReader& reader_;
    std::uint32_t connectWord_;
    Form form_;
    std::optional<KeptFile> file_;
    std::unique_ptr<ModelBlock> block_;
    std::uint64_t start_;
    double startTime_;
    std::uint64_t blockBytes_ = 0;

    std::uint64_t headerOffset_ = 0;
    std::optional<std::uint64_t> announcedTriangles_;
    std::uint32_t materialCount_ = 0;
    std::unordered_set<WideString> materials_;
    std::unordered_set<WideString> unknownMaterials_;
    std::vector<const WideString*> materialOfInstance_;
    std::unordered_map<WideString, MeshUse> meshes_;
    q7tools::ModelNotes notes_;  // of names in the sets and the map here
    std::uint32_t meshCount_ = 0;
    std::uint64_t countedTriangles_ = 0;  // as the header counts them
    std::uint64_t placedTriangles_ = 0;   // as they are to be drawn
    WideString paths_;
    std::string fileName_;
};

}  // namespace q7standin
