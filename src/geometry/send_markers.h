// What a live send adds to a model and takes out again: baked copies of meshes whose transform the
// renderer is not to be given, and a tiny triangle that carries every material.
#pragma once

#include "model/session_core.h"
#include "support/text.h"

inline constexpr WideView generatorMeshName = u"@g@m@q7_";
inline constexpr WideView generatedInstancePath = u"@q7@gen@";
inline constexpr WideView fixedMeshPrefix = u"@q7fix@";

// Gives each instance with an unhealthy transform (sheared, or scaled beyond 0.001 to 100) a mesh of
// its own with the transform baked in, and the identity; core remembers what they had. The instances
// are those of the session, also where the model is a copy of its model. An instance whose baked mesh
// the model refuses stays as it is.
void fixDegenerateTransforms(SessionCore& core, Model& model);

// Gives the fixed instances back what they had.
void restoreFixedInstances(SessionCore& core);

// Adds the generator triangle, beside the first point of the first instance's mesh, or renews it.
Mesh* addGeneratorMesh(Model& model);

// Adds an instance of the generator with the material, where the model's first instance is; core
// remembers it.
void addMaterialInstance(SessionCore& core, Model& model, const IQ7Material& material,
                         const Mesh& generator);

// Takes out of the model what addMaterialInstance added. The last instance takes the place of each
// one removed.
void removeGeneratedInstances(SessionCore& core, Model& model);
