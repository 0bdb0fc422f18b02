#include "standin/model_receiver.h"

#include <algorithm>
#include <cstring>

#include "common/byte_reader.h"
#include "common/stream_reader.h"
#include "common/text_output.h"
#include "standin/limits.h"
#include "standin/socket_channel.h"

namespace q7standin {

using q7tools::ByteReader;
using q7tools::counted;
using q7tools::FormatError;
using q7tools::inQuotes;

namespace {

constexpr std::uint32_t pathsWord = 1;
constexpr std::size_t elementSize = 4;
constexpr std::string_view kind = "model";
constexpr std::string_view extension = "q7mesh";

// Reads the records that lie in the block from its start. Gives the bytes that they take.
template <class ReadRecord>
std::span<const std::byte> readRecords(std::span<const std::byte> view, std::uint32_t count,
                                       std::string_view list, ReadRecord readRecord) {
    ByteReader cursor(view);
    for (std::uint32_t i = 0; i < count; ++i) {
        try {
            readRecord(cursor);
        } catch (const FormatError& error) {
            throw ProtocolError(Place::Block, error.offset(),
                                std::string(list) + '[' + std::to_string(i) + "] of " +
                                    std::to_string(count) + ": " + error.what());
        }
    }
    return view.first(static_cast<std::size_t>(cursor.offset()));
}

// Unsigned, so that a negative index is too big as well.
std::uint32_t indexAt(std::span<const std::byte> indices, std::size_t place) {
    std::uint32_t index = 0;
    std::memcpy(&index, indices.data() + place * elementSize, elementSize);
    return index;
}

}  // namespace

ModelReceiver::ModelReceiver(Connection& connection, std::uint32_t connectWord, Form form)
    : connection_(connection),
      services_(connection.services),
      reader_(connection.reader),
      connectWord_(connectWord),
      form_(form),
      start_(reader_.offset() - sizeof(std::uint32_t)),
      startTime_(services_.log.now()) {}

std::optional<std::uint32_t> ModelReceiver::receive(std::uint32_t version) {
    if (version != q7tools::knownStreamVersion) {
        throw ProtocolError(Place::Connection, start_,
                            fault("model version", std::to_string(q7tools::knownStreamVersion),
                                  std::to_string(version)));
    }
    if (services_.store.isKeeping()) services_.store.begin(file_);
    keepWord(version);
    receiveHeader();
    receiveMaterials();
    receiveInstances();
    receiveMeshes();
    checkWhole();
    const bool isPlain = form_ == Form::Plain || form_ == Form::ProbablyPlain;
    if (isPlain) return finishPlain();
    return reader_.hasData(services_.patience) ? finishWithPaths() : finishAfterWaiting();
}

void ModelReceiver::receiveHeader() {
    headerOffset_ = reader_.offset();
    const WideString text = reader_.readString("header", mostHeaderUnits);
    keepWord(static_cast<std::uint32_t>(text.size()));
    keep(text.data(), text.size() * sizeof(char16_t));
    const HeaderFindings findings = checkHeader(text);
    reportFaults(services_.log, Place::Connection, headerOffset_, "header", findings);
    announcedTriangles_ = findings.triangleCount;
}

void ModelReceiver::receiveMaterials() {
    materialCount_ = reader_.readWord("material count");
    openBlock();
    const auto readMaterial = [this](ByteReader& cursor) {
        const std::uint64_t offset = cursor.offset();
        const auto [name, isNew] = materials_.insert(cursor.readWideString("name"));
        if (!isNew) {
            services_.log.protocolError(Place::Block, offset,
                                        "material " + inQuotes(*name) + " is sent twice");
        }
        notes_.addMaterial(*name, cursor.readWideString("XML text"));
    };
    const auto bytes = readRecords(block_->view(), materialCount_, "materials", readMaterial);
    keepWord(materialCount_);
    keep(bytes.data(), bytes.size());
    blockBytes_ += bytes.size();
    services_.transcript.block("materials", bytes);
    acknowledge("the materials");
}

void ModelReceiver::receiveInstances() {
    const std::uint64_t offset = reader_.offset();
    const std::uint32_t count = reader_.readWord("instance count");
    if (count == 0) protocolError(offset, fault("instance count", "at least 1", "0"));
    const auto readInstance = [this](ByteReader& cursor) {
        const auto mesh = meshes_.try_emplace(cursor.readWideString("mesh name")).first;
        ++mesh->second.instances;
        const std::uint64_t at = cursor.offset();
        WideString material = cursor.readWideString("material name");
        auto known = materials_.find(material);
        if (known == materials_.end()) {
            const auto [unknown, isNew] = unknownMaterials_.insert(std::move(material));
            if (isNew && !unknown->empty()) {
                services_.log.remark(Place::Block, at,
                                     "an instance has the material " + inQuotes(*unknown) +
                                         ", which is not among the materials");
            }
            known = unknown;
        }
        materialOfInstance_.push_back(&*known);
        notes_.addInstance(mesh->first, *known, cursor.readTransform("transform"));
    };
    const auto bytes = readRecords(block_->view(), count, "instances", readInstance);
    keepWord(count);
    keep(bytes.data(), bytes.size());
    blockBytes_ += bytes.size();
    services_.transcript.block("instances", bytes);
    acknowledge("the instances");
}

void ModelReceiver::receiveMeshes() {
    const std::uint64_t offset = reader_.offset();
    meshCount_ = reader_.readWord("mesh count");
    if (meshCount_ != meshes_.size()) {
        protocolError(offset, fault("mesh count",
                                    std::to_string(meshes_.size()) + ", as many as instances use",
                                    std::to_string(meshCount_)));
    }
    keepWord(meshCount_);
    for (std::uint32_t i = 0; i < meshCount_; ++i)
        receiveMesh();
}

void ModelReceiver::receiveMesh() {
    const std::uint64_t offset = reader_.offset();
    const WideString name = reader_.readString("mesh name", mostNameUnits);
    keepWord(static_cast<std::uint32_t>(name.size()));
    keep(name.data(), name.size() * sizeof(char16_t));
    checkMeshName(offset, name);
    const std::string mesh = "mesh " + inQuotes(name);

    const Array positions = receiveArray("positions");
    const auto used = meshes_.find(name);
    const bool isNoted = used != meshes_.end();
    if (isNoted) {
        notes_.addMesh(used->first,
                       services_.checkArrays ? positions.bytes : std::span<const std::byte>());
    }
    acknowledge("the positions");
    const Array normals = receiveArray("normals");
    acknowledge("the normals");
    const Array uvs = receiveArray("uvs");
    if (isNoted && services_.checkArrays) notes_.addUvs(used->first, uvs.bytes);
    acknowledge("the uvs");
    receiveColors(mesh);
    const Array indices = receiveArray("indices");
    checkCounts(mesh, positions, normals, uvs);
    if (isMerged(name, positions, indices)) {
        countTriangles(name, indices, positions.count / 9);
    } else {
        countTriangles(name, indices, indices.count / 3);
        checkIndices(mesh, positions, indices);
    }
    acknowledge("the indices");
}

ModelReceiver::Array ModelReceiver::receiveArray(const std::string& field) {
    Array array;
    array.offset = reader_.offset();
    array.count = reader_.readWord(field + " count");
    const std::span<const std::byte> view = block_->view();
    if (array.count > view.size() / elementSize) {
        throw ProtocolError(Place::Connection, array.offset,
                            fault(field + " count",
                                  "at most " + std::to_string(view.size() / elementSize) +
                                      " for the block of " + counted(view.size(), "byte", "bytes"),
                                  std::to_string(array.count)));
    }
    array.bytes = view.first(array.count * elementSize);
    keepWord(array.count);
    keep(array.bytes.data(), array.bytes.size());
    blockBytes_ += array.bytes.size();
    services_.transcript.block(field, array.bytes);
    return array;
}

void ModelReceiver::receiveColors(const std::string& mesh) {
    const std::uint64_t offset = reader_.offset();
    const std::uint32_t word = reader_.readWord("word in the place of colors");
    if (word != 0) {
        protocolError(
            offset, mesh + ": " + fault("word in the place of colors", "0", std::to_string(word)));
    }
    keepWord(0);
    acknowledge("the word in the place of colors");
}

void ModelReceiver::receivePaths() {
    if (!block_) openBlock();
    ByteReader cursor(block_->view());
    try {
        paths_ = cursor.readWideString("instance paths");
    } catch (const FormatError& error) {
        throw ProtocolError(Place::Block, error.offset(), error.what());
    }
    const auto bytes = block_->view().first(static_cast<std::size_t>(cursor.offset()));
    blockBytes_ += bytes.size();
    services_.transcript.block("instance paths", bytes);
    reportFaults(services_.log, Place::Block, 0, "instance paths",
                 checkInstancePaths(paths_, materialOfInstance_));
    block_.reset();
}

std::optional<std::uint32_t> ModelReceiver::finishPlain() {
    // The client opens the block anew for its next model, and on Windows a handle that is open here
    // would hold on to the old one.
    block_.reset();
    commitAndLog("plain form");
    acknowledge("the model");
    tellNotes();
    const std::uint64_t offset = reader_.offset();
    std::optional<std::uint32_t> next = readNextVersion();
    if (next != pathsWord) return next;
    if (form_ == Form::Plain) {
        protocolError(offset, "instance paths follow, which connect word " +
                                  std::to_string(connectWord_) + " does not announce");
    }
    receivePaths();
    services_.store.keepBeside("instance-paths", "json", q7tools::allToUtf8(paths_));
    services_.log.note("the model before had instance paths");
    acknowledge("the instance paths");
    return readNextVersion();
}

std::optional<std::uint32_t> ModelReceiver::finishWithPaths() {
    const std::uint64_t offset = reader_.offset();
    const std::uint32_t word = reader_.readWord("word before the instance paths");
    if (word != pathsWord) {
        throw ProtocolError(Place::Connection, offset,
                            fault("word before the instance paths", std::to_string(pathsWord),
                                  std::to_string(word)));
    }
    receivePaths();
    commitAndLog("form with paths");
    acknowledge("the instance paths");
    acknowledge("the model");
    tellNotes();
    return readNextVersion();
}

std::optional<std::uint32_t> ModelReceiver::finishAfterWaiting() {
    block_.reset();
    services_.log.note(
        "no instance paths yet: the final acknowledgement of the plain form is sent");
    acknowledge("the model");
    const std::uint64_t offset = reader_.offset();
    const std::optional<std::uint32_t> next = readNextVersion();
    if (next == pathsWord) {
        receivePaths();
        commitAndLog("form with paths");
        acknowledge("the instance paths");
        tellNotes();
        return readNextVersion();
    }
    if (form_ == Form::WithPaths) {
        protocolError(offset, fault("word before the instance paths", std::to_string(pathsWord),
                                    next ? std::to_string(*next) : "the end of the connection") +
                                  ", so this was the plain form");
    }
    commitAndLog("plain form");
    tellNotes();
    return next;
}

void ModelReceiver::checkMeshName(std::uint64_t offset, const WideString& name) {
    const auto use = meshes_.find(name);
    if (use == meshes_.end()) {
        protocolError(offset, "mesh " + inQuotes(name) + " is sent, but no instance uses it");
    } else if (use->second.hasArrived) {
        protocolError(offset, "mesh " + inQuotes(name) + " is sent twice");
    } else {
        use->second.hasArrived = true;
    }
}

void ModelReceiver::checkCounts(const std::string& mesh, const Array& positions,
                                const Array& normals, const Array& uvs) {
    const auto remark = [&](const Array& array, const std::string& field,
                            const std::string& expected) {
        services_.log.remark(
            Place::Connection, array.offset,
            mesh + ": " + fault(field + " count", expected, std::to_string(array.count)));
    };
    if (positions.count % 3 != 0) remark(positions, "positions", "a multiple of 3");
    if (normals.count != 0 && normals.count != positions.count) {
        remark(normals, "normals", std::to_string(positions.count) + " or 0");
    }
    const std::uint32_t expectedUvs = positions.count / 3 * 2;
    if (uvs.count != expectedUvs) remark(uvs, "uvs", std::to_string(expectedUvs));
}

void ModelReceiver::checkIndices(const std::string& mesh, const Array& positions,
                                 const Array& indices) {
    if (indices.count % 3 != 0) {
        services_.log.remark(
            Place::Connection, indices.offset,
            mesh + ": " + fault("indices count", "a multiple of 3", std::to_string(indices.count)));
    }
    if (!services_.checkArrays) return;
    const std::uint32_t vertices = positions.count / 3;
    for (std::size_t i = 0; i < indices.count; ++i) {
        const std::uint32_t index = indexAt(indices.bytes, i);
        if (index < vertices) continue;
        services_.log.remark(
            Place::Block, i * elementSize,
            mesh + ": " +
                fault("indices[" + std::to_string(i) + ']', "less than " + std::to_string(vertices),
                      std::to_string(static_cast<std::int32_t>(index))));
        return;
    }
}

// Merged meshes have the running list in the place of indices, one entry for each float of the
// positions, and their vertices are triangles.
bool ModelReceiver::isMerged(WideView mesh, const Array& positions, const Array& indices) const {
    if (!mesh.ends_with(q7tools::mergedMeshSuffix) || indices.count != positions.count) {
        return false;
    }
    if (!services_.checkArrays) return true;
    for (std::uint32_t i = 0; i < indices.count; ++i) {
        if (indexAt(indices.bytes, i) != i) return false;
    }
    return true;
}

void ModelReceiver::countTriangles(const WideString& mesh, const Array& indices,
                                   std::uint64_t triangles) {
    const auto use = meshes_.find(mesh);
    if (use == meshes_.end()) return;
    placedTriangles_ += use->second.instances * triangles;
    countedTriangles_ += use->second.instances * (indices.count / 3);
}

void ModelReceiver::checkWhole() {
    const std::uint64_t offset = reader_.offset();
    for (const auto& [name, use] : meshes_) {
        if (!use.hasArrived) {
            protocolError(offset, "mesh " + inQuotes(name) + " is used by " +
                                      counted(use.instances, "instance", "instances") +
                                      ", but was not sent");
        }
    }
    if (announcedTriangles_ && *announcedTriangles_ != countedTriangles_) {
        protocolError(headerOffset_, "header: " + fault("\"triangleCount\"",
                                                        std::to_string(countedTriangles_) +
                                                            ", as many as the instances place",
                                                        std::to_string(*announcedTriangles_)));
    }
}

void ModelReceiver::openBlock() {
    block_ = services_.openModelBlock();
    if (!block_) {
        throw ProtocolError(Place::Connection, reader_.offset(),
                            fault("model block", "a block named " + wideToUtf8(modelBlockName),
                                  "none of that name"));
    }
}

void ModelReceiver::acknowledge(const std::string& what) {
    services_.behaviour.acknowledge(connection_.channel, what);
}

void ModelReceiver::keep(const void* data, std::size_t size) {
    if (file_) file_->write(data, size);
}

void ModelReceiver::keepWord(std::uint32_t word) {
    keep(&word, sizeof word);
}

void ModelReceiver::commitAndLog(const std::string& form) {
    if (file_) {
        fileName_ = services_.store.commit(*file_, kind, extension);
        if (services_.previews != nullptr) services_.previews->modelKept(fileName_);
        if (!paths_.empty()) {
            services_.store.keepBeside("instance-paths", "json", q7tools::allToUtf8(paths_));
        }
    }
    Message message;
    message.connection = connection_.number;
    message.word = connectWord_;
    message.what = "model, " + form + ": " + counted(materialCount_, "material", "materials") +
                   ", " + counted(materialOfInstance_.size(), "instance", "instances") + ", " +
                   counted(meshCount_, "mesh", "meshes") + ", " +
                   counted(placedTriangles_, "placed triangle", "placed triangles");
    message.bytes = reader_.offset() - start_ + blockBytes_;
    message.seconds = services_.log.now() - startTime_;
    message.file = fileName_;
    services_.log.message(message);
}

void ModelReceiver::tellNotes() {
    for (const q7tools::ModelNote& note : notes_.notes()) {
        services_.log.note('#' + std::to_string(connection_.number) + "  note: " + note.text);
    }
}

// A client that has sent its model and keeps the connection holds up all others, and its own messages too.
// Nobody sees why, so it is told once of a connection: when another client waits, when nothing comes for a
// while, and at the end of the run.
void ModelReceiver::awaitNext() {
    if (connection_.isIdleTold) return;
    bool isIdle = true;
    try {
        for (int waited = 0; isIdle && waited < services_.idleTime; waited += waitSlice) {
            isIdle = !reader_.hasData(waitSlice);
            if (isIdle && services_.isAnotherWaiting && services_.isAnotherWaiting()) break;
        }
    } catch (const Stopped&) {
        tellIdleness();
        throw;
    }
    if (isIdle) tellIdleness();
}

void ModelReceiver::tellIdleness() {
    connection_.isIdleTold = true;
    services_.log.note("connection " + std::to_string(connection_.number) +
                       " is still open, and idle, after its model");
}

std::optional<std::uint32_t> ModelReceiver::readNextVersion() {
    awaitNext();
    return reader_.readWordOrEnd("model version");
}

void ModelReceiver::protocolError(std::uint64_t offset, const std::string& text) {
    services_.log.protocolError(Place::Connection, offset, text);
}

}  // namespace q7standin
