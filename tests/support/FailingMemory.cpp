#include "support/FailingMemory.h"

#include "support/FailingNew.h"
#include "support/KitsOwn.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>
#include <tuple>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswresample/swresample.h>
}

#define REPLACES_LIBRARY extern "C" __attribute__((visibility("default")))

namespace {

using test_files::FailingNew;

thread_local std::uint64_t tAlignedCount = 0;

// The library's own function, with what it allocates left alone.
template <typename Function, typename... Arguments>
auto CallLibrary(Function*, const char* inName, Arguments... inArguments) {
    auto* const function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, inName));
    const support::KitsOwn itsOwn;
    return function(inArguments...);
}

// Releases of libswresample differ in how constant they take what they only read.
template <typename Function>
struct Parameters;
template <typename Result, typename... Types>
struct Parameters<Result(Types...)> {
    template <std::size_t kIndex>
    using At = std::tuple_element_t<kIndex, std::tuple<Types...>>;
};
using Layout = Parameters<decltype(swr_alloc_set_opts2)>::At<1>;
using OutPlanes = Parameters<decltype(swr_convert)>::At<1>;
using InPlanes = Parameters<decltype(swr_convert)>::At<3>;

}  // namespace

namespace test_movies {

std::uint64_t AlignedCount() {
    return tAlignedCount;
}

}  // namespace test_movies

REPLACES_LIBRARY int posix_memalign(void** outBlock, std::size_t inAlignment,
                                    std::size_t inByteCount) noexcept {
    ++tAlignedCount;
    void* const block =
        std::aligned_alloc(inAlignment, (inByteCount + inAlignment - 1) / inAlignment * inAlignment);
    if (block == nullptr) return ENOMEM;
    *outBlock = block;
    return 0;
}

REPLACES_LIBRARY AVFrame* av_frame_alloc() {
    return FailingNew::IsDue() ? nullptr : CallLibrary(av_frame_alloc, "av_frame_alloc");
}

REPLACES_LIBRARY AVPacket* av_packet_alloc() {
    return FailingNew::IsDue() ? nullptr : CallLibrary(av_packet_alloc, "av_packet_alloc");
}

REPLACES_LIBRARY AVCodecContext* avcodec_alloc_context3(const AVCodec* inCodec) {
    return FailingNew::IsDue() ? nullptr
                               : CallLibrary(avcodec_alloc_context3, "avcodec_alloc_context3", inCodec);
}

REPLACES_LIBRARY void* av_mallocz(std::size_t inByteCount) {
    return FailingNew::IsDue() ? nullptr : CallLibrary(av_mallocz, "av_mallocz", inByteCount);
}

REPLACES_LIBRARY int avcodec_open2(AVCodecContext* inContext, const AVCodec* inCodec,
                                   AVDictionary** ioOptions) {
    return FailingNew::IsDue() ? AVERROR(ENOMEM)
                               : CallLibrary(avcodec_open2, "avcodec_open2", inContext, inCodec, ioOptions);
}

REPLACES_LIBRARY int avcodec_send_packet(AVCodecContext* inContext, const AVPacket* inPacket) {
    return FailingNew::IsDue() ? AVERROR(ENOMEM)
                               : CallLibrary(avcodec_send_packet, "avcodec_send_packet", inContext, inPacket);
}

REPLACES_LIBRARY int avcodec_receive_frame(AVCodecContext* inContext, AVFrame* outFrame) {
    return FailingNew::IsDue()
               ? AVERROR(ENOMEM)
               : CallLibrary(avcodec_receive_frame, "avcodec_receive_frame", inContext, outFrame);
}

REPLACES_LIBRARY int swr_init(SwrContext* inContext) {
    return FailingNew::IsDue() ? AVERROR(ENOMEM) : CallLibrary(swr_init, "swr_init", inContext);
}

REPLACES_LIBRARY int swr_alloc_set_opts2(SwrContext** outContext, Layout outLayout, AVSampleFormat outFormat,
                                         int outRateHz, Layout inLayout, AVSampleFormat inFormat,
                                         int inRateHz, int inLogOffset, void* inLogContext) {
    if (FailingNew::IsDue()) return AVERROR(ENOMEM);
    return CallLibrary(swr_alloc_set_opts2, "swr_alloc_set_opts2", outContext, outLayout, outFormat,
                       outRateHz, inLayout, inFormat, inRateHz, inLogOffset, inLogContext);
}

REPLACES_LIBRARY int swr_convert(SwrContext* inContext, OutPlanes outPlanes, int outFrameCount,
                                 InPlanes inPlanes, int inFrameCount) {
    if (FailingNew::IsDue()) return AVERROR(ENOMEM);
    return CallLibrary(swr_convert, "swr_convert", inContext, outPlanes, outFrameCount, inPlanes,
                       inFrameCount);
}
