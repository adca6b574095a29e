// rez-pack: makes a resource file from a description in JSON, and shows one as such. See Records.h for the
// form.
#include "Arguments.h"
#include "Failure.h"
#include "Files.h"
#include "Records.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>

namespace {

using namespace rez_pack;

constexpr char kUsage[] =
    "Usage: rez-pack make [OPTIONS] DESCRIPTION FILE\n"
    "       rez-pack show [OPTIONS] FILE\n"
    "Makes a resource file, in place of what it holds, from a description in JSON; and shows one as "
    "such.\n\n";

struct Options {
    bool isMake = false;
    std::string description;
    std::string file;
    bool isFork = false;
    CFStringEncoding encoding = kCFStringEncodingUTF8;

    Where Place() const { return isFork ? Where::kResourceFork : Where::kDataFork; }
};

std::string ContentsOf(const std::string& inPath) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(inPath.c_str(), "re"), std::fclose);
    if (file == nullptr) throw tool::Failure(EX_NOINPUT, inPath, tool::SystemReason(errno));
    std::string contents;
    char bytes[65536];
    while (const std::size_t count = std::fread(bytes, 1, sizeof bytes, file.get()))
        contents.append(bytes, count);
    if (std::ferror(file.get()) != 0)
        throw tool::Failure(errno == EISDIR ? EX_NOINPUT : EX_IOERR, inPath, tool::SystemReason(errno));
    return contents;
}

void Make(const Options& inOptions) {
    const std::string text = ContentsOf(inOptions.description);
    std::vector<Record> records;
    try {
        records = RecordsOf(Parsed(text), inOptions.encoding);
    } catch (const DescriptionError& error) {
        throw tool::Failure(EX_DATAERR, inOptions.description, error.what());
    }
    WriteResources(inOptions.file, inOptions.Place(), records);
}

void Print(const std::string& inText) {
    std::cout << inText;
    std::cout.flush();
    if (!std::cout) throw tool::Failure(EX_IOERR, "standard output", tool::SystemReason(errno));
}

void Show(const Options& inOptions) {
    Print(DescriptionOf(ReadResources(inOptions.file, inOptions.Place()), inOptions.encoding).dump(2) + '\n');
}

CFStringEncoding EncodingOf(const std::optional<std::string>& inName) {
    if (!inName || *inName == "utf-8") return kCFStringEncodingUTF8;
    if (*inName == "mac-roman") return kCFStringEncodingMacRoman;
    throw tool::UsageFailure("--encoding is utf-8 or mac-roman, not " + *inName);
}

void ReadNames(const std::vector<std::string>& inNames, Options& outOptions) {
    if (inNames.empty()) throw tool::UsageFailure("say make or show");
    const std::string& command = inNames[0];
    if (command != "make" && command != "show")
        throw tool::UsageFailure("there is no command " + command + ": make and show are all");
    outOptions.isMake = command == "make";
    if (inNames.size() != (outOptions.isMake ? 3 : 2)) {
        throw tool::UsageFailure(outOptions.isMake ? "make takes a DESCRIPTION and a FILE"
                                                   : "show takes one FILE");
    }
    outOptions.description = inNames[1];
    outOptions.file = inNames.back();
}

void Run(int inArgumentCount, char** inArguments) {
    Options options;
    std::optional<std::string> encoding;
    bool isHelp = false;
    bool isVersion = false;
    const std::vector<tool::ArgumentOption> table = {
        {0, "fork", nullptr, "The file's resource fork, in its ._ companion, not the file itself",
         &options.isFork},
        {0, "encoding", "ENCODING", "Encoding of the texts in the file: utf-8 or mac-roman", &encoding},
        {'V', "version", nullptr, "Print the version and exit", &isVersion, true},
        {'h', "help", nullptr, "Print this help and exit", &isHelp, true},
    };
    std::vector<std::string> names;
    tool::ReadArguments(inArgumentCount, inArguments, table, names);
    if (isHelp) return Print(kUsage + tool::OptionsHelp(table));
    if (isVersion) return Print("rez-pack " MIRTAL_VERSION "\n");
    ReadNames(names, options);
    options.encoding = EncodingOf(encoding);
    options.isMake ? Make(options) : Show(options);
}

}  // namespace

int main(int inArgumentCount, char** inArguments) {
    tool::SetCommandName("rez-pack");
    // A limit on the size of files becomes an error of write().
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        Run(inArgumentCount, inArguments);
        return EX_OK;
    } catch (const tool::Failure& failure) {
        tool::Say(failure.Subject(), failure.what());
        return failure.ExitCode();
    } catch (const std::bad_alloc&) {
        tool::Say({}, "out of memory");
        return EX_OSERR;
    }
}
