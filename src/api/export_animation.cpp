#include <span>

#include "api/convert.h"
#include "support/float_environment.h"

namespace {

// What a frame keeps of its points is their bytes.
static_assert(sizeof(Q7AnimProperty) == 5 * sizeof(double));

// The name is read only where it matters.
Q7AnimationEntity* animationOf(void* session, int32_t type, const Q7Char* name) {
    const auto entityType = static_cast<EntityType>(type);
    if (entityType != EntityType::CameraAnimation) return nullptr;
    return sessionOf(session).core->findAnimation(entityType, toWide(name));
}

Q7AnimationKeyFrame* frameOf(void* session, int32_t type, const Q7Char* name, int32_t frame) {
    Q7AnimationEntity* const animation = animationOf(session, type, name);
    return animation ? animation->frame(frame) : nullptr;
}

}  // namespace

#if defined(__MINGW32__)

// What MSVC's callers expect of a constructor and of an assignment is an ordinary function that
// takes the object first and returns its address; this compiler's own constructors return nothing.
Q7AnimProperty* constructAnimProperty(Q7AnimProperty* self, double v, double lt, double lv,
                                      double rt, double rv)
    Q7_SYMBOL("??0Q7AnimProperty@@QEAA@NNNNN@Z");
Q7AnimProperty* copyAnimProperty(Q7AnimProperty* self, const Q7AnimProperty* other)
    Q7_SYMBOL("??4Q7AnimProperty@@QEAAAEAU0@AEBU0@@Z");
Q7AnimProperty* moveAnimProperty(Q7AnimProperty* self, Q7AnimProperty* other)
    Q7_SYMBOL("??4Q7AnimProperty@@QEAAAEAU0@$$QEAU0@@Z");

Q7AnimProperty* constructAnimProperty(Q7AnimProperty* self, double v, double lt, double lv,
                                      double rt, double rv) {
    self->V = v;
    self->LT = lt;
    self->LV = lv;
    self->RT = rt;
    self->RV = rv;
    return self;
}

Q7AnimProperty* copyAnimProperty(Q7AnimProperty* self, const Q7AnimProperty* other) {
    *self = *other;
    return self;
}

Q7AnimProperty* moveAnimProperty(Q7AnimProperty* self, Q7AnimProperty* other) {
    *self = *other;
    return self;
}

#else

Q7AnimProperty::Q7AnimProperty(double v, double lt, double lv, double rt, double rv)
    : V(v), LT(lt), LV(lv), RT(rt), RV(rv) {}

Q7AnimProperty& Q7AnimProperty::operator=(const Q7AnimProperty& other) = default;

Q7AnimProperty& Q7AnimProperty::operator=(Q7AnimProperty&& other) noexcept = default;

#endif

void Q7AddCameraAnims(void* session, const Q7Char* name) {
    if (session) sessionOf(session).core->addCameraAnimation(toWide(name));
}

void Q7DeleteCameraAnims(void* session, const Q7Char* name) {
    if (session) sessionOf(session).core->cameraAnims.erase(toWide(name));
}

void Q7ClearCameraAnims(void* session) {
    if (session) sessionOf(session).core->cameraAnims.clear();
}

int32_t Q7AddAnimEntityFrame(void* session, int32_t type, const Q7Char* name, double time) {
    Q7AnimationEntity* const animation = animationOf(session, type, name);
    return animation ? animation->addFrame(time) : -1;
}

int32_t Q7FindAnimEntityFrame(void* session, int32_t type, const Q7Char* name, double time) {
    const StandardFloats floats;
    const Q7AnimationEntity* const animation = animationOf(session, type, name);
    return animation ? animation->findFrame(time) : -1;
}

void Q7DeleteAnimEntityFrame(void* session, int32_t type, const Q7Char* name, int32_t frame) {
    if (Q7AnimationEntity* const animation = animationOf(session, type, name)) {
        animation->deleteFrame(frame);
    }
}

void Q7ClearAnimEntityFrames(void* session, int32_t type, const Q7Char* name) {
    if (Q7AnimationEntity* const animation = animationOf(session, type, name)) {
        animation->frames.clear();
    }
}

void Q7SetAnimProperty(void* session, int32_t type, const Q7Char* name, const Q7Char* property,
                       int32_t frame, const Q7AnimProperty* value) {
    Q7SetAnimArrayProperty(session, type, name, property, frame, value, 1);
}

void Q7SetAnimArrayProperty(void* session, int32_t type, const Q7Char* name, const Q7Char* property,
                            int32_t frame, const Q7AnimProperty* values, int count) {
    if (Q7AnimationKeyFrame* const keyFrame = frameOf(session, type, name, frame)) {
        keyFrame->set(toWide(property), PropertyType::Double,
                      std::as_bytes(hostArray(values, count)));
    }
}

void Q7ResetAnimProperty(void* session, int32_t type, const Q7Char* name, int32_t frame) {
    if (Q7AnimationKeyFrame* const keyFrame = frameOf(session, type, name, frame)) {
        keyFrame->clear();
    }
}

void Q7DeleteAnimProperty(void* session, int32_t type, const Q7Char* name, const Q7Char* property,
                          int32_t frame) {
    if (Q7AnimationKeyFrame* const keyFrame = frameOf(session, type, name, frame)) {
        keyFrame->remove(toWide(property));
    }
}

void Q7ResetAllAnimProperty(void* session, int32_t type, const Q7Char* name) {
    if (Q7AnimationEntity* const animation = animationOf(session, type, name)) {
        for (Q7AnimationKeyFrame& keyFrame : animation->frames)
            keyFrame.clear();
    }
}

void Q7DeleteAllAnimProperty(void* session, int32_t type, const Q7Char* name,
                             const Q7Char* property) {
    if (Q7AnimationEntity* const animation = animationOf(session, type, name)) {
        const WideString propertyName = toWide(property);
        for (Q7AnimationKeyFrame& keyFrame : animation->frames)
            keyFrame.remove(propertyName);
    }
}
