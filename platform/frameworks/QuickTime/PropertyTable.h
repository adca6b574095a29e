// Properties as tables: what each is, and how it is got and set. The functions of the framework are these
// over the table of a movie's properties and that of the process's.
#pragma once

#include <toolbox/MovieProperties.h>

#include <cstring>

namespace toolbox::quicktime {

// Of a subject of so many arguments: a movie, or nothing for the process.
template <typename... Subject>
struct Property {
    QTPropertyClass propertyClass;
    QTPropertyID id;
    QTPropertyValueType type;
    ByteCount sizeBytes;
    bool (*isAvailable)(Subject... inSubject);
    void (*get)(Subject... inSubject, void* outValue);
    OSStatus (*set)(Subject... inSubject, const void* inValue);  // null: read only

    UInt32 Flags() const {
        return kComponentPropertyFlagCanGetNow | (set == nullptr ? 0 : kComponentPropertyFlagCanSetNow);
    }
};

// Values are anywhere in the caller's memory, so they are copied byte by byte.
template <typename Value>
void PutValue(void* outValue, Value inValue) {
    std::memcpy(outValue, &inValue, sizeof inValue);
}
template <typename Value>
Value ValueAt(const void* inValue) {
    Value value;
    std::memcpy(&value, inValue, sizeof value);
    return value;
}

// Tells a property that does not exist from one that the subject does not have now.
template <typename Table, typename... Subject>
[[nodiscard]] OSStatus FindProperty(const Table& inTable, QTPropertyClass inClass, QTPropertyID inID,
                                    const Property<Subject...>*& outProperty, Subject... inSubject) {
    for (const auto& property : inTable) {
        if (property.propertyClass != inClass || property.id != inID) continue;
        outProperty = &property;
        return property.isAvailable(inSubject...) ? noErr : kQTPropertyNotAvailableErr;
    }
    return kQTPropertyNotSupportedErr;
}

template <typename Table, typename... Subject>
[[nodiscard]] OSStatus GetPropertyInfo(const Table& inTable, QTPropertyClass inClass, QTPropertyID inID,
                                       QTPropertyValueType* outType, ByteCount* outSize, UInt32* outFlags,
                                       Subject... inSubject) {
    const Property<Subject...>* property = nullptr;
    const OSStatus status = FindProperty(inTable, inClass, inID, property, inSubject...);
    if (status != noErr) return status;
    if (outType != nullptr) *outType = property->type;
    if (outSize != nullptr) *outSize = property->sizeBytes;
    if (outFlags != nullptr) *outFlags = property->Flags();
    return noErr;
}

template <typename Table, typename... Subject>
[[nodiscard]] OSStatus GetProperty(const Table& inTable, QTPropertyClass inClass, QTPropertyID inID,
                                   ByteCount inSize, void* outValue, ByteCount* outSizeUsed,
                                   Subject... inSubject) {
    const Property<Subject...>* property = nullptr;
    const OSStatus status = FindProperty(inTable, inClass, inID, property, inSubject...);
    if (status != noErr) return status;
    if (inSize < property->sizeBytes) return kQTPropertyBadValueSizeErr;
    if (outValue == nullptr) return paramErr;
    property->get(inSubject..., outValue);
    if (outSizeUsed != nullptr) *outSizeUsed = property->sizeBytes;
    return noErr;
}

template <typename Table, typename... Subject>
[[nodiscard]] OSStatus SetProperty(const Table& inTable, QTPropertyClass inClass, QTPropertyID inID,
                                   ByteCount inSize, const void* inValue, Subject... inSubject) {
    const Property<Subject...>* property = nullptr;
    const OSStatus status = FindProperty(inTable, inClass, inID, property, inSubject...);
    if (status != noErr) return status;
    if (property->set == nullptr) return kQTPropertyReadOnlyErr;
    if (inSize != property->sizeBytes) return kQTPropertyBadValueSizeErr;
    return inValue == nullptr ? static_cast<OSStatus>(paramErr) : property->set(inSubject..., inValue);
}

}  // namespace toolbox::quicktime
