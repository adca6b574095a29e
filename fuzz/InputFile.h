// One file, written anew for each input, of a fuzzer over what is opened by path. In memory where the system
// has a folder there.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

class InputFile {
  public:
    InputFile() : mPath(Folder() + "/mirtal-fuzz-" + std::to_string(getpid())) {}
    ~InputFile() { unlink(mPath.c_str()); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    const char* Path() const { return mPath.c_str(); }

    // A file that cannot be written ends the program.
    void Fill(const std::uint8_t* inBytes, std::size_t inByteCount) const {
        const int descriptor = open(mPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (descriptor < 0 || write(descriptor, inBytes, inByteCount) != static_cast<ssize_t>(inByteCount))
            std::abort();
        close(descriptor);
    }

  private:
    static std::string Folder() { return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp"; }

    std::string mPath;
};
