// The components that the toolbox brings, and what an opened one is.
#pragma once

#include "track/MovieImporter.h"

#include <toolbox/Components.h>

#include <memory>
#include <span>

// An opened component. The kind of the component decides the class; see SoundExporter.h.
struct OpaqueComponentInstance {
    explicit OpaqueComponentInstance(Component inComponent);
    virtual ~OpaqueComponentInstance();
    OpaqueComponentInstance(const OpaqueComponentInstance&) = delete;
    OpaqueComponentInstance& operator=(const OpaqueComponentInstance&) = delete;

    const Component component;  // what it was opened from
};

struct OpaqueComponent {
    ComponentDescription description;
    std::unique_ptr<OpaqueComponentInstance> (*open)(Component);  // throws std::bad_alloc
    toolbox::movies::ImportFunction import;                       // of importers, else null
};

namespace toolbox::movies {

// In the order in which they are looked at; importers stand in the order in which they are asked.
std::span<const OpaqueComponent> RegisteredComponents();

}  // namespace toolbox::movies
