// What libavformat and libavcodec say while they work for this component is not printed: it is meant for
// those who make them. People are told in our words.
#pragma once

namespace toolbox::movies::general {

// While one lives, messages of this thread are not printed.
// libavutil has one log function for the whole process: the first LogScope sets it to one that passes on to
// libavutil's default whatever other threads, or this one outside a scope, have to say. A host that sets its
// own afterwards has it its way.
class LogScope {
  public:
    LogScope();
    ~LogScope();
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;
};

// What an error code of theirs means for a file that was to be opened.
const char* ReasonOf(int inError);

}  // namespace toolbox::movies::general
