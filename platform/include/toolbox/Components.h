// The Component Manager: code found by what it does, rather than by name.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef struct OpaqueComponent* Component;                  // a registered component
typedef struct OpaqueComponentInstance* ComponentInstance;  // one opened use of it, for one thread at a time
typedef SInt32 ComponentResult;

// Component types.
#ifdef __cplusplus
constexpr OSType MovieExportType = FourChars("spit");
constexpr OSType MovieImportType = FourChars("eat ");
#endif

typedef struct ComponentDescription {
    OSType componentType;  // 0 matches every value, in this field and the next two
    OSType componentSubType;
    OSType componentManufacturer;
    UInt32 componentFlags;
    UInt32 componentFlagsMask;  // the flags that must be as given; 0: any
} ComponentDescription;

// How many registered components match; the one after inPrevious (null: the first) that does, or null.
TOOLBOX_EXPORT SInt32 CountComponents(const ComponentDescription* inLooking);
TOOLBOX_EXPORT Component FindNextComponent(Component inPrevious, const ComponentDescription* inLooking);
TOOLBOX_MUST_USE OSErr GetComponentInfo(Component inComponent, ComponentDescription* outDescription);

// Null when no component matches or it cannot be opened.
TOOLBOX_MUST_USE ComponentInstance OpenDefaultComponent(OSType inType, OSType inSubType);
TOOLBOX_MUST_USE ComponentInstance OpenComponent(Component inComponent);
// badComponentInstance for a null instance.
TOOLBOX_EXPORT OSErr CloseComponent(ComponentInstance inInstance);

TOOLBOX_EXTERN_C_END
