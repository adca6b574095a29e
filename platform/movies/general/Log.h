// What libavformat and libavcodec say while they work for this component: kept for the message to people, not
// printed.
#pragma once

#include <string>

namespace toolbox::movies::general {

// While one lives, messages of this thread are not printed; the last error among them is kept.
// libavutil has one log function for the whole process: the first LogScope sets it to one that passes on to
// libavutil's default whatever other threads, or this one outside a scope, have to say. A host that sets its
// own afterwards has it its way.
class LogScope {
  public:
    LogScope();
    ~LogScope();
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

    // The last error since the outermost scope of this thread began or, when there was none, what libavutil
    // has to say to an error code.
    static std::string Describe(int inError);
};

}  // namespace toolbox::movies::general
