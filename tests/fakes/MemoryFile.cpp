#include "MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>

namespace mirtal::fakes {

std::shared_ptr<const toolbox::movies::MediaFile> NewMemoryFile(const std::string& inBytes) {
    const int descriptor = memfd_create("media", MFD_CLOEXEC);
    std::size_t written = 0;
    while (descriptor >= 0 && written < inBytes.size()) {
        const ssize_t count = write(descriptor, inBytes.data() + written, inBytes.size() - written);
        if (count <= 0) break;
        written += static_cast<std::size_t>(count);
    }
    if (descriptor < 0 || written < inBytes.size()) throw std::runtime_error("no memory file");
    return std::make_shared<const toolbox::movies::MediaFile>(
        descriptor, static_cast<std::int64_t>(inBytes.size()), "memory");
}

}  // namespace mirtal::fakes
