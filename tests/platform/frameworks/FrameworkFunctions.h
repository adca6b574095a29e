// QuickTime.framework as a program finds it: its functions by name.
#pragma once

#include <dlfcn.h>
#include <toolbox/MovieProperties.h>

#include <stdexcept>
#include <string>

namespace test_frameworks {

// MIRTAL_FRAMEWORK is the bundle.
class FrameworkFunctions {
  public:
    FrameworkFunctions() : mLibrary(dlopen(MIRTAL_FRAMEWORK "/QuickTime", RTLD_NOW | RTLD_LOCAL)) {
        if (mLibrary == nullptr) throw std::runtime_error(dlerror());
        Find("QTBeginUserInteractionSuppression", begin);
        Find("QTEndUserInteractionSuppression", end);
        Find("QTIsUserInteractionAllowed", isAllowed);
        Find("QTGetMoviePropertyInfo", getMovieInfo);
        Find("QTGetMovieProperty", getMovie);
        Find("QTSetMovieProperty", setMovie);
        Find("QTGetProcessPropertyInfo", getProcessInfo);
        Find("QTGetProcessProperty", getProcess);
        Find("QTSetProcessProperty", setProcess);
    }
    ~FrameworkFunctions() { dlclose(mLibrary); }
    FrameworkFunctions(const FrameworkFunctions&) = delete;
    FrameworkFunctions& operator=(const FrameworkFunctions&) = delete;

    decltype(&QTBeginUserInteractionSuppression) begin;
    decltype(&QTEndUserInteractionSuppression) end;
    decltype(&QTIsUserInteractionAllowed) isAllowed;
    decltype(&QTGetMoviePropertyInfo) getMovieInfo;
    decltype(&QTGetMovieProperty) getMovie;
    decltype(&QTSetMovieProperty) setMovie;
    decltype(&QTGetProcessPropertyInfo) getProcessInfo;
    decltype(&QTGetProcessProperty) getProcess;
    decltype(&QTSetProcessProperty) setProcess;

  private:
    template <typename Function>
    void Find(const char* inName, Function& outFunction) {
        outFunction = reinterpret_cast<Function>(dlsym(mLibrary, inName));
        if (outFunction == nullptr) throw std::runtime_error(std::string("no function ") + inName);
    }

    void* mLibrary;
};

}  // namespace test_frameworks
