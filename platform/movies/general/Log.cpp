#include "Log.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

#include <cerrno>
#include <cstdarg>
#include <mutex>

namespace toolbox::movies::general {

namespace {

thread_local int sScopeDepth = 0;

void PassOn(void* inContext, int inLevel, const char* inFormat, std::va_list inArguments) {
    if (sScopeDepth == 0) av_log_default_callback(inContext, inLevel, inFormat, inArguments);
}

}  // namespace

LogScope::LogScope() {
    static std::once_flag sOnce;
    std::call_once(sOnce, [] { av_log_set_callback(&PassOn); });
    ++sScopeDepth;
}

LogScope::~LogScope() {
    --sScopeDepth;
}

const char* ReasonOf(int inError) {
    switch (inError) {
        case AVERROR_INVALIDDATA:
            return "the file is damaged, or not what it looks like";
        case AVERROR_EOF:
        case AVERROR(EIO):  // what some demuxers make of an end that comes too early
            return "the file ends before its sound begins";
        case AVERROR_PATCHWELCOME:
        case AVERROR(ENOSYS):
            return "the file needs something that is not supported";
        default:
            return "the file cannot be read";
    }
}

}  // namespace toolbox::movies::general
