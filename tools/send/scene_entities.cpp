#include "send/scene_entities.h"

#include <algorithm>
#include <limits>
#include <span>

#include "q7plugin.h"
#include "send/entity_properties.h"
#include "send/host_text.h"
#include "send/unique_names.h"

namespace q7send {

namespace {

// The library's numbers for the kinds of records.
constexpr std::uint32_t cameraType = 0;
constexpr std::uint32_t lightType = 1;
constexpr std::uint32_t sceneType = 2;
constexpr std::uint32_t metadataType = 3;
constexpr std::uint32_t animationType = 4;

class Record {
  public:
    Record(void* session, std::uint32_t type, WideView name)
        : session_(session), type_(type), name_(name) {}

    void set(const char16_t* property, WideView value) const {
        Q7SetEntityStringProperty(session_, type_, name_, HostText(property), HostText(value));
    }
    void set(const char16_t* property, float value) const {
        Q7SetEntityFloatProperty(session_, type_, name_, HostText(property), value);
    }
    void set(const char16_t* property, std::span<const float> values) const {
        Q7SetEntityFloatArrayProperty(session_, type_, name_, HostText(property), values.data(),
                                      static_cast<int>(values.size()));
    }
    void setCount(const char16_t* property, std::uint64_t value) const {
        constexpr std::uint64_t most = std::numeric_limits<std::int32_t>::max();
        Q7SetEntityIntProperty(session_, type_, name_, HostText(property),
                               static_cast<std::int32_t>(std::min(value, most)));
    }
    void set(const Pose& pose) const {
        set(entity::position, pose.position);
        set(entity::direction, pose.direction);
        set(entity::up, pose.up);
    }

  private:
    void* session_;
    std::uint32_t type_;
    HostText name_;
};

void describeCamera(const Record& record, const SceneCamera& camera) {
    record.set(entity::name, camera.name);
    record.set(camera.pose);
    record.set(entity::nearPlane, camera.nearPlane);
    record.set(entity::farPlane, camera.farPlane);
    if (camera.aspectRatio > 0) record.set(entity::aspectRatio, camera.aspectRatio);
    if (camera.orthographicWidth > 0) {
        record.set(entity::orthographicWidth, camera.orthographicWidth);
    } else {
        record.set(entity::fieldOfView, camera.fieldOfView);
    }
}

// Renderers know scenes as views that have a name.
void describeScenes(void* session, const Scene& scene) {
    UniqueNames names(u'/', u'/');
    for (const SceneCamera& camera : scene.cameras) {
        const WideString name = names.claim(camera.name, u"Scene");
        Q7AddScene(session, HostText(name));
        describeCamera(Record(session, sceneType, name), camera);
    }
}

const char16_t* nameOf(LightType type) {
    switch (type) {
        case LightType::point:
            return u"Point";
        case LightType::directional:
            return u"Directional";
        case LightType::spot:
            return u"Spot";
        case LightType::ambient:
            return u"Ambient";
        case LightType::area:
            break;
    }
    return u"Area";
}

void describeLight(const Record& record, const SceneLight& light) {
    record.set(entity::name, light.name);
    record.set(entity::type, nameOf(light.type));
    record.set(light.pose);
    record.set(entity::color, light.color);
    record.set(entity::intensity, light.intensity);
    record.set(entity::attenuation, light.attenuation);
    if (light.type == LightType::spot) {
        record.set(entity::innerAngle, light.innerAngle);
        record.set(entity::outerAngle, light.outerAngle);
    }
    if (light.type == LightType::area) {
        record.set(entity::size, std::array{light.width, light.height});
    }
}

WideString idOf(std::size_t node) {
    const std::string digits = std::to_string(node);
    return {digits.begin(), digits.end()};
}

void describeLights(void* session, const Scene& scene) {
    UniqueNames names(u'/', u'/');
    for (const SceneLight& light : scene.lights) {
        const WideString name = names.claim(light.name, u"Light");
        Q7AddLight(session, HostText(name));
        const Record record(session, lightType, name);
        describeLight(record, light);
        if (!light.group) continue;
        const WideString id = idOf(*light.group);
        record.set(entity::group, id);
        Q7SetPathElementName(session, HostText(id), HostText(scene.nodes[*light.group].name));
    }
}

// A curve through the values of one property, straight between two frames: the handle on each side
// lies a third of the way to the neighbour.
class Curve {
  public:
    Curve(const std::vector<CameraFrame>& frames, Vector Pose::*property)
        : frames_(frames), property_(property) {}

    Q7AnimProperty point(std::size_t frame, std::size_t element) const {
        const std::size_t left = frame == 0 ? frame : frame - 1;
        const std::size_t right = frame + 1 == frames_.size() ? frame : frame + 1;
        return {value(frame, element), towards(time(frame), time(left)),
                towards(value(frame, element), value(left, element)),
                towards(time(frame), time(right)),
                towards(value(frame, element), value(right, element))};
    }

  private:
    double time(std::size_t frame) const { return frames_[frame].time; }
    double value(std::size_t frame, std::size_t element) const {
        return static_cast<double>((frames_[frame].pose.*property_)[element]);
    }
    static double towards(double from, double to) { return from + (to - from) / 3; }

    const std::vector<CameraFrame>& frames_;
    Vector Pose::*property_;
};

void describeFrames(void* session, const HostText& name, const std::vector<CameraFrame>& frames) {
    constexpr auto type = static_cast<std::int32_t>(animationType);
    const std::pair<const char16_t*, Curve> curves[] = {
        {entity::position, {frames, &Pose::position}},
        {entity::direction, {frames, &Pose::direction}},
        {entity::up, {frames, &Pose::up}}};
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const std::int32_t frame = Q7AddAnimEntityFrame(session, type, name, frames[i].time);
        for (const auto& [property, curve] : curves) {
            const Q7AnimProperty points[] = {curve.point(i, 0), curve.point(i, 1),
                                             curve.point(i, 2)};
            Q7SetAnimArrayProperty(session, type, name, HostText(property), frame, points, 3);
        }
    }
}

void describeAnimations(void* session, const Scene& scene) {
    UniqueNames names(u'/', u'/');
    for (const CameraPath& path : scene.cameraPaths) {
        const WideString name = names.claim(path.name, u"Animation");
        Q7AddCameraAnims(session, HostText(name));
        Record(session, animationType, name).set(entity::camera, scene.cameras[path.camera].name);
        describeFrames(session, HostText(name), path.frames);
    }
}

void describeMetadata(const Record& record, const Scene& scene, const SendTotals& totals,
                      std::string_view programVersion) {
    // What the file says comes first: it must not displace what is counted here.
    for (const auto& [name, text] : scene.remarks)
        record.set(name.c_str(), text);
    record.set(entity::name, scene.modelFile.filename().u16string());
    record.set(entity::generator, u"q7-send " + utf8ToWide(programVersion));
    record.setCount(entity::nodes, totals.nodes);
    record.setCount(entity::materials, totals.materials);
    record.setCount(entity::triangles, totals.triangles);
    record.setCount(entity::cameras, scene.cameras.size());
    record.setCount(entity::lights, scene.lights.size());
}

}  // namespace

MessageCounts countMessages(const Scene& scene) {
    MessageCounts counts{scene.cameras.size(), scene.lights.size(), scene.cameraPaths.size(), 0};
    for (const CameraPath& path : scene.cameraPaths)
        counts.frames += path.frames.size();
    return counts;
}

void describeEntities(void* session, const Scene& scene, const SendTotals& totals,
                      std::string_view programVersion) {
    describeMetadata(Record(session, metadataType, {}), scene, totals, programVersion);
    if (!scene.cameras.empty()) {
        describeCamera(Record(session, cameraType, {}), scene.cameras.front());
    }
    describeScenes(session, scene);
    describeLights(session, scene);
    describeAnimations(session, scene);
}

}  // namespace q7send
