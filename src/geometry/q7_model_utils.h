// Static operations on meshes: baking a transform into geometry, and merging.
#pragma once

#include "model/model.h"
#include "support/array.h"

class Q7ModelUtils {
  public:
    // Points and normals of three floats each, in the space that the transform leads to. The result
    // is as long as the input; a rest of less than three floats becomes zeroes. Single precision,
    // summed from the left, so that every build gives the same bits. There is no perspective divide.
    static Array<float> calcWorldVertex(const Array<float>& positions, const Transform& transform);
    // Normals come out with a length of 1; one whose length is 0 stays as it is. A mirroring transform
    // turns them over.
    static Array<float> calcWorldNormal(const Array<float>& normals, const Transform& transform);

    // Joins, for each material, the meshes that only one instance uses into one mesh in world space
    // with one instance. Materials with a single such mesh are left alone. A group whose arrays do not
    // fit each other leaves the model altogether. The source meshes stay in the table.
    static void MergeSingleInstancedMesh(Model& model);
};
