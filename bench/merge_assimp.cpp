#include <assimp/postprocess.h>

#include <assimp/BaseImporter.h>
#include <assimp/importerdesc.h>
#include <assimp/Importer.hpp>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

#include "bench/assimp_scene.h"

namespace {

constexpr aiImporterDesc description = {"bench", "", "", "", aiImporterFlags_SupportBinaryFlavour,
                                        0,       0,  0,  0,  "q7bench"};

// Gives its shape whatever the file: steps are only done on scenes that the importer has read.
class ShapeImporter : public Assimp::BaseImporter {
  public:
    explicit ShapeImporter(const bench::Shape& shape) : shape_(shape) {}
    bool CanRead(const std::string& file, Assimp::IOSystem*, bool) const override {
        return GetExtension(file) == description.mFileExtensions;
    }
    const aiImporterDesc* GetInfo() const override { return &description; }

  protected:
    void InternReadFile(const std::string&, aiScene* scene, Assimp::IOSystem*) override {
        bench::fillScene(*scene, shape_);
    }

  private:
    bench::Shape shape_;
};

}  // namespace

bench::Peer bench::assimpMerge(const Shape& shape) {
    return {"Assimp, pretransformed", [shape] {
                Assimp::Importer importer;
                importer.RegisterLoader(new ShapeImporter(shape));
                const char any = 0;
                if (!importer.ReadFileFromMemory(&any, 1, 0, description.mFileExtensions))
                    throw std::runtime_error(std::string("Assimp: ") + importer.GetErrorString());
                const aiScene* merged = nullptr;
                const double took = millisecondsOf(
                    [&] { merged = importer.ApplyPostProcessing(aiProcess_PreTransformVertices); });
                if (!merged || merged->mNumMeshes != shape.materials)
                    throw std::runtime_error("Assimp did not merge the meshes");
                return took;
            }};
}
