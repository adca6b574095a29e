#include "PropertyTable.h"

#include <toolbox/MovieProperties.h>
#include <toolbox/SoundArchitecture.h>

namespace {

using namespace toolbox::quicktime;

constexpr Property<> kProperties[] = {
    {kProcessPropertyClassSettings, kProcessPropertySoundArchitecture, kPropertyTypeOSType, sizeof(OSType),
     [] { return true; }, [](void* outValue) { PutValue<OSType>(outValue, GetSoundArchitecture()); },
     [](const void* inValue) -> OSStatus { return SetSoundArchitecture(ValueAt<OSType>(inValue)); }},
};

}  // namespace

OSStatus QTGetProcessPropertyInfo(QTPropertyClass inClass, QTPropertyID inID, QTPropertyValueType* outType,
                                  ByteCount* outSize, UInt32* outFlags) {
    return GetPropertyInfo(kProperties, inClass, inID, outType, outSize, outFlags);
}

OSStatus QTGetProcessProperty(QTPropertyClass inClass, QTPropertyID inID, ByteCount inSize, void* outValue,
                              ByteCount* outSizeUsed) {
    return GetProperty(kProperties, inClass, inID, inSize, outValue, outSizeUsed);
}

OSStatus QTSetProcessProperty(QTPropertyClass inClass, QTPropertyID inID, ByteCount inSize,
                              const void* inValue) {
    return SetProperty(kProperties, inClass, inID, inSize, inValue);
}
