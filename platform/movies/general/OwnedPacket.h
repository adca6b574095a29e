// An AVPacket that frees itself. Throws std::bad_alloc when there is no memory for one.
#pragma once

extern "C" {
#include <libavcodec/packet.h>
}

#include <memory>
#include <new>

namespace toolbox::movies::general {

class OwnedPacket {
  public:
    OwnedPacket() : mPacket(av_packet_alloc()) {
        if (mPacket == nullptr) throw std::bad_alloc();
    }
    void Clear() { av_packet_unref(mPacket.get()); }
    AVPacket& operator*() const { return *mPacket; }
    AVPacket* operator->() const { return mPacket.get(); }

  private:
    struct Free {
        void operator()(AVPacket* inPacket) const { av_packet_free(&inPacket); }
    };
    std::unique_ptr<AVPacket, Free> mPacket;
};

}  // namespace toolbox::movies::general
