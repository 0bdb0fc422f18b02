// The bytes of a model: small routines that write one thing each to any sink, and the whole model
// in the form that files have. docs/formats/model_stream.md tells the layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <span>

#include "model/model.h"
#include "support/text.h"

// Takes bytes on their way out. Sinks hold no buffer and report nothing. An empty one throws
// std::bad_function_call when it is called.
using ByteWriter = std::function<void(const void* data, std::size_t size)>;

// What the stream's header says besides the model's own values.
struct StreamSettings {
    WideString dccPluginInfo;
    std::uint32_t materialVersion = 0;
};

class Q7Sync {
  public:
    // The file stays the caller's. What it does not take is lost without a word.
    static ByteWriter toFile(std::FILE* file);
    // Writes where the cursor's bytes begin and moves it on; what is beyond its end goes nowhere. The
    // cursor stays the caller's.
    static ByteWriter toShareMem(std::span<std::byte>& cursor);
    // The process's connection to the renderer.
    static ByteWriter toSocket();

    // Numbers are little-endian; a count of more than 32 bits is cut to its low 32.
    static void writeWord(std::uint64_t value, ByteWriter writer);
    static void writeWideString(const WideString& text, ByteWriter writer);
    static void writeFloatArray(const Array<float>& numbers, ByteWriter writer);
    static void writeIntArray(const IndexList& indices, ByteWriter writer);
    static void writeByteArray(const Array<unsigned char>& bytes, ByteWriter writer);
    static void writeMaterial(const IQ7Material& material, ByteWriter writer);
    // The instance's path is no part of it.
    static void writeInstance(const Instance& instance, ByteWriter writer);
    static void writeMesh(const Mesh& mesh, ByteWriter writer);

    // The header's JSON text, without white space. A mesh that is placed twice counts twice.
    static WideString headerJson(const Model& model, const StreamSettings& settings);

    // The model as files hold it: every material, instance and mesh, used or not.
    static void writeModel(const Model& model, const StreamSettings& settings, ByteWriter writer);
    // Neither changes the model, and nothing happens when the file cannot be opened. The processed
    // form writes a copy in which single-instanced meshes are merged.
    static void saveRaw(const Model& model, const StreamSettings& settings, const WideString& path);
    static void saveProcessed(const Model& model, const StreamSettings& settings,
                              const WideString& path);
};
