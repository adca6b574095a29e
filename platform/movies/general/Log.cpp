#include "Log.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace toolbox::movies::general {

namespace {

thread_local int sScopeDepth = 0;
thread_local std::string sLastError;

// Called from C: nothing may be thrown.
void KeepMessage(void* inContext, int inLevel, const char* inFormat, std::va_list inArguments) {
    if (sScopeDepth == 0) {
        av_log_default_callback(inContext, inLevel, inFormat, inArguments);
        return;
    }
    if (inLevel > AV_LOG_ERROR) {
        return;
    }
    char text[256];
    if (std::vsnprintf(text, sizeof text, inFormat, inArguments) <= 0) {
        return;
    }
    try {
        sLastError = text;
        while (!sLastError.empty() && (sLastError.back() == '\n' || sLastError.back() == '.')) {
            sLastError.pop_back();
        }
    } catch (...) {
        sLastError.clear();
    }
}

}  // namespace

LogScope::LogScope() {
    static std::once_flag sOnce;
    std::call_once(sOnce, [] { av_log_set_callback(&KeepMessage); });
    if (sScopeDepth++ == 0) {
        sLastError.clear();
    }
}

LogScope::~LogScope() {
    --sScopeDepth;
}

std::string LogScope::Describe(int inError) {
    if (!sLastError.empty()) {
        return sLastError;
    }
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(inError, text, sizeof text);
    return text;
}

}  // namespace toolbox::movies::general
