#pragma once

namespace corvid {

/** Sets a published field and, when that changed its value, emits the signal that says so. */
template <typename Object, typename Value>
void assign(Object *object, Value &field, const Value &value, void (Object::*changed)()) {
    if (field == value)
        return;
    field = value;
    (object->*changed)();
}

} // namespace corvid
