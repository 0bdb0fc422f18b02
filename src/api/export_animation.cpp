#include "api/q7plugin.h"

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
