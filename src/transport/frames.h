// The parts of a model as bytes, for any sink: something that is called with an address and a size.
//
// Templates, because of scenes of a million instances: through ByteWriter each field would cost a copy
// of the writer and an indirect call, which took longer than writing the bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "model/model.h"
#include "support/array.h"
#include "support/text.h"

template <class Sink>
void frameWord(std::uint64_t value, Sink& sink) {
    const auto word = static_cast<std::uint32_t>(value);
    sink(&word, sizeof word);
}

template <class Sink>
void frameText(WideView text, Sink& sink) {
    frameWord(text.size(), sink);
    sink(text.data(), text.size() * sizeof(char16_t));
}

template <class Number, class Sink>
void frameArray(const Array<Number>& numbers, Sink& sink) {
    frameWord(numbers.size(), sink);
    sink(numbers.data(), numbers.size() * sizeof(Number));
}

template <class Sink>
void frameIndices(const IndexList& indices, Sink& sink) {
    frameWord(indices.size(), sink);
    indices.forEachPiece([&](const IndexList::Index* piece, std::size_t count) {
        sink(piece, count * sizeof *piece);
    });
}

template <class Sink>
void frameMaterial(const IQ7Material& material, Sink& sink) {
    frameText(material.getName(), sink);
    frameText(material.toXml(), sink);
}

// The name is that of the instance's material.
template <class Sink>
void frameInstance(const Instance& instance, WideView materialName, Sink& sink) {
    frameText(instance.mesh->name, sink);
    frameText(materialName, sink);
    sink(instance.transform.data(), sizeof instance.transform);
}

// The names of the materials of instances, one after the other. Neighbours often share a material, which
// is then asked for its name once.
class MaterialNames {
  public:
    // Good until the next call.
    WideView of(const Instance& instance) {
        if (instance.material != material_) {
            material_ = instance.material;
            name_ = material_->getName();
        }
        return name_;
    }

  private:
    const IQ7Material* material_ = nullptr;
    WideString name_;
};

// In the order of the model.
template <class Sink>
void frameInstances(const Model& model, Sink& sink) {
    MaterialNames names;
    for (const auto& instance : model.instances)
        frameInstance(*instance, names.of(*instance), sink);
}

template <class Sink>
void frameMesh(const Mesh& mesh, Sink& sink) {
    frameText(mesh.name, sink);
    frameArray(mesh.positions, sink);
    frameArray(mesh.normals, sink);
    frameArray(mesh.uvs, sink);
    frameArray(mesh.colors, sink);
    frameIndices(mesh.indices, sink);
}
