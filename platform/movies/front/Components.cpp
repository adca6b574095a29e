#include "ComponentRegistry.h"
#include "Movies_test_access.h"
#include "SoundExporter.h"

#include <toolbox/Components.h>

#include <atomic>
#include <iterator>
#include <new>

namespace {

using toolbox::movies::ImportADTS;
using toolbox::movies::ImportGeneral;
using toolbox::movies::ImportMPEG4;
using toolbox::movies::SoundExporter;

std::atomic<std::int64_t> sLiveInstances = 0;

std::unique_ptr<OpaqueComponentInstance> OpenExporter(Component inComponent) {
    return std::make_unique<SoundExporter>(inComponent);
}

// An importer has no state between two files.
std::unique_ptr<OpaqueComponentInstance> OpenImporter(Component inComponent) {
    return std::make_unique<OpaqueComponentInstance>(inComponent);
}

constexpr OSType kManufacturer = FourChars("mrtl");

constexpr OpaqueComponent kComponents[] = {
    {{MovieExportType, FourChars("snd "), kManufacturer, 0, 0}, OpenExporter, nullptr},
    {{MovieImportType, FourChars("mpg4"), kManufacturer, 0, 0}, OpenImporter, ImportMPEG4},
    {{MovieImportType, FourChars("adts"), kManufacturer, 0, 0}, OpenImporter, ImportADTS},
    {{MovieImportType, FourChars("genr"), kManufacturer, 0, 0}, OpenImporter, ImportGeneral},
};

bool Matches(const ComponentDescription& inLooking, const ComponentDescription& inFound) {
    const auto agrees = [](OSType inWanted, OSType inHas) { return inWanted == 0 || inWanted == inHas; };
    return agrees(inLooking.componentType, inFound.componentType) &&
           agrees(inLooking.componentSubType, inFound.componentSubType) &&
           agrees(inLooking.componentManufacturer, inFound.componentManufacturer) &&
           ((inLooking.componentFlags ^ inFound.componentFlags) & inLooking.componentFlagsMask) == 0;
}

bool IsRegistered(Component inComponent) {
    for (const OpaqueComponent& component : kComponents) {
        if (&component == inComponent) return true;
    }
    return false;
}

}  // namespace

OpaqueComponentInstance::OpaqueComponentInstance(Component inComponent) : component(inComponent) {
    ++sLiveInstances;
}

OpaqueComponentInstance::~OpaqueComponentInstance() {
    --sLiveInstances;
}

namespace toolbox::movies {

std::span<const OpaqueComponent> RegisteredComponents() {
    return kComponents;
}

std::int64_t LiveComponentInstanceCount() {
    return sLiveInstances;
}

}  // namespace toolbox::movies

Component FindNextComponent(Component inPrevious, const ComponentDescription* inLooking) {
    if (inLooking == nullptr) return nullptr;
    if (inPrevious != nullptr && !IsRegistered(inPrevious)) return nullptr;
    const OpaqueComponent* next = inPrevious == nullptr ? kComponents : inPrevious + 1;
    for (; next != std::end(kComponents); ++next) {
        if (Matches(*inLooking, next->description)) return const_cast<Component>(next);
    }
    return nullptr;
}

SInt32 CountComponents(const ComponentDescription* inLooking) {
    SInt32 count = 0;
    Component component = FindNextComponent(nullptr, inLooking);
    for (; component != nullptr; component = FindNextComponent(component, inLooking))
        ++count;
    return count;
}

OSErr GetComponentInfo(Component inComponent, ComponentDescription* outDescription) {
    if (!IsRegistered(inComponent) || outDescription == nullptr) return paramErr;
    *outDescription = inComponent->description;
    return noErr;
}

ComponentInstance OpenComponent(Component inComponent) {
    if (!IsRegistered(inComponent)) return nullptr;
    try {
        return inComponent->open(inComponent).release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

ComponentInstance OpenDefaultComponent(OSType inType, OSType inSubType) {
    const ComponentDescription looking = {inType, inSubType, 0, 0, 0};
    return OpenComponent(FindNextComponent(nullptr, &looking));
}

OSErr CloseComponent(ComponentInstance inInstance) {
    // The status is wider than what this call answers with.
    if (inInstance == nullptr) return static_cast<OSErr>(badComponentInstance);
    delete inInstance;
    return noErr;
}
