#include "api/convert.h"

namespace {

NodeBuilder& builderOf(void* session) {
    return *sessionOf(session).nodeBuilder;
}

}  // namespace

void Q7BeginNode(void* session, const Q7Char* nodeName, const float* transform,
                 const Q7Char* instancePath) {
    builderOf(session).begin(toWide(nodeName), transform, toWide(instancePath));
}

void Q7BeginNodeHint(void* session, const Q7Char* nodeName, const float* transform,
                     uint32_t triangleHint, const Q7Char* instancePath) {
    builderOf(session).begin(toWide(nodeName), transform, triangleHint, toWide(instancePath));
}

void MaxBeginNode(void* session, const Q7Char* nodeName, const float* transform) {
    builderOf(session).begin(toWide(nodeName), transform, {});
}

void MaxBeginNodeHint(void* session, const Q7Char* nodeName, const float* transform,
                      uint32_t triangleHint) {
    builderOf(session).begin(toWide(nodeName), transform, triangleHint, {});
}

void Q7EndNode(void* session) {
    builderOf(session).end();
}

void MaxEndNode(void* session) {
    Q7EndNode(session);
}

void MaxAddTriangle(void* session, const Q7Char* materialName, const float* positions,
                    const float* normals, const float* uvs) {
    MaxAddTriangles(session, materialName, 1, positions, normals, uvs, CoordOrder::XYZ);
}

void MaxAddTriangles(void* session, const Q7Char* materialName, int triangleCount,
                     const float* positions, const float* normals, const float* uvs,
                     CoordOrder order) {
    MaxAddIndexTriangles(session, materialName, triangleCount, positions, normals, uvs, 0, nullptr,
                         order);
}

void MaxAddIndexTriangles(void* session, const Q7Char* materialName, int triangleCount,
                          const float* positions, const float* normals, const float* uvs,
                          uint32_t indexCount, const int* indices, CoordOrder order) {
    builderOf(session).addTriangles(toWide(materialName), {.triangleCount = triangleCount,
                                                           .positions = positions,
                                                           .normals = normals,
                                                           .uvs = uvs,
                                                           .indices = indices,
                                                           .indexCount = indexCount,
                                                           .order = toAxisOrder(order)});
}

void MaxDuplicateNode(void* session, const Q7Char* existingNode, const Q7Char* newNode,
                      const float* transform) {
    builderOf(session).duplicate(toWide(existingNode), toWide(newNode), transform, u"/");
}

void Q7DuplicateNode(void* session, const Q7Char* existingNode, const Q7Char* newNode,
                     const float* transform, const Q7Char* instancePath) {
    builderOf(session).duplicate(toWide(existingNode), toWide(newNode), transform,
                                 toWide(instancePath));
}

void MaxDeleteNode(void* session, const Q7Char* node) {
    builderOf(session).remove(toWide(node));
}

void Q7DeleteNode(void* session, const Q7Char* node) {
    MaxDeleteNode(session, node);
}
