// Runs the command line as its users do: arguments, standard streams, terminal, limits and signals of a
// test's choice.
#pragma once

#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace tools_test {

using test_files::TemporaryFolder;

std::string Fixture(const std::string& inName);
std::string ReadFile(const std::string& inPath);
void WriteFile(const std::string& inPath, const std::string& inBytes);

struct Outcome {
    int exitCode = -1;  // -1 when a signal ended it
    int signal = 0;
    std::string out;
    std::string err;
};

class Command {
  public:
    enum class Stream {
        kCaptured,
        kUnread,      // a pipe that the test does not read until Wait
        kClosedPipe,  // a pipe without reader
        kTerminal,    // captured
        kClosed,      // no descriptor at all
    };

    explicit Command(std::vector<std::string> inArguments) : arguments(std::move(inArguments)) {}
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    std::vector<std::string> arguments;
    std::string folder;                    // to run in, when not empty
    std::vector<std::string> environment;  // "NAME=value", added
    std::string inPath;                    // standard input is this file, else nothing,
    off_t inOffset = 0;                    // from here on,
    int inDescriptor = -1;                 // or what is open here,
    std::optional<std::string> inText;     // or a pipe with these bytes,
    std::optional<std::string> typed;      // or the terminal of standard error, where this is typed
    Stream out = Stream::kCaptured;
    std::string outPath;  // standard output goes to this file instead
    int outFlags = O_WRONLY | O_CREAT | O_TRUNC;
    Stream err = Stream::kCaptured;
    std::string errPath;                     // standard error is put behind what this file has, instead
    unsigned short terminalColumnCount = 0;  // 0: the terminal does not tell
    long fileSizeLimitBytes = -1;
    std::vector<int> ignoredSignals;
    bool obeysPermissions = false;  // also when the tests are run by root
    bool isTraced = false;          // waits for ReadingsAfter before it begins

    void Start();
    bool IsRunning();
    // Whether it waits for something to happen; and whether it holds that file open.
    bool IsAsleep() const;
    bool HasOpen(const std::string& inFile) const;
    // Bytes that wait in the pipe of standard output.
    int WaitingByteCount() const;
    int WaitingErrorByteCount() const;  // of standard error
    void Signal(int inSignal) const;
    // At the terminal of standard error.
    void Type(const std::string& inTyped) const;
    // Sends a traced command a signal as it begins the inCount-th reading of a file, and answers how many
    // more of that file it began until it ended. Every call of the system's is stopped at: no time plays a
    // part.
    int ReadingsAfter(int inSignal, int inCount, const std::string& inFile);
    // Waits, with nothing read, for as long as Wait does.
    bool EndsUnread();
    // Reads what is left and waits; after ten minutes the command is killed and a failure noted.
    Outcome Wait();
    Outcome Run();

  private:
    [[noreturn]] void Become(int inIn, int inOut, int inErr);
    int OpenInput(int inErr);
    int OpenPipeOf(const std::string& inBytes);
    int OpenStream(Stream inStream, int& outReadEnd);

    pid_t mProcess = -1;
    pid_t mWriter = -1;
    int mOut = -1;
    int mErr = -1;
    bool mIsWaitedFor = false;
    int mStatus = 0;
};

// aac2wav with these arguments.
Outcome RunTool(std::vector<std::string> inArguments);

}  // namespace tools_test
