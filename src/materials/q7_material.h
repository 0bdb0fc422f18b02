// The typed material: a bag of properties that the library turns into XML itself.
#pragma once

#include <cstdint>

#include "entities/entity.h"
#include "model/model.h"
#include "support/text.h"

class Q7Material : public IQ7Material, public Q7Entity {
  public:
    explicit Q7Material(WideView normalisedName) : id(normalisedName) {}
    WideString getName() const override { return id; }
    WideString toXml() const override;

    WideString id;
    // Index into the catalogue; any value is kept.
    std::uint32_t type = 0;
};

// The typed material of that name, or null when there is none or it is a text material.
Q7Material* findQ7Material(const Model& model, WideView name);
