// The calls by which bundles load code.
#pragma once

namespace toolbox::corefoundation {

struct LoadingCalls {
    void* (*openObject)(const char* inPath);  // with all its symbols bound; null when it cannot be loaded
    void (*closeObject)(void* inObject);
    void* (*findSymbol)(void* inObject, const char* inName);  // that the object itself defines; or null
};

const LoadingCalls& CallsOfLoading();

}  // namespace toolbox::corefoundation
