// Converts a file with nothing but the installed headers, and checks the promise: the length announced is the length
// delivered.
#include <converter/AACToWAV.h>
#include <toolbox/Movies.h>

#include <cstdio>

static void Count(void* inContext, void*, long inLength) { *static_cast<long*>(inContext) += inLength; }

int main(int argc, char** argv) {
    if (argc != 2) return 64;
    EnterMovies();
    const long announced = static_cast<long>(getConvertedLength(argv[1]).LongLong());
    long delivered = 0;
    convert_AAC_to_WAV(argv[1], &delivered, Count);
    ExitMovies();
    std::printf("%ld %ld\n", announced, delivered);
    return announced > 44 && announced == delivered ? 0 : 1;
}
