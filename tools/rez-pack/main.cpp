// rez-pack: makes a resource file from a description in JSON, and shows one as such. See Records.h for the
// form.
#include "Failure.h"
#include "Files.h"
#include "Records.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>

namespace {

using namespace rez_pack;

struct Options {
    std::string description;
    std::string file;
    bool isFork = false;
    std::string encoding = "utf-8";

    Where Place() const { return isFork ? Where::kResourceFork : Where::kDataFork; }
    CFStringEncoding Encoding() const {
        return encoding == "utf-8" ? kCFStringEncodingUTF8 : kCFStringEncodingMacRoman;
    }
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
        records = RecordsOf(Parsed(text), inOptions.Encoding());
    } catch (const JSON::exception& error) {
        throw tool::Failure(EX_DATAERR, inOptions.description, ReasonOf(error));
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
    Print(DescriptionOf(ReadResources(inOptions.file, inOptions.Place()), inOptions.Encoding()).dump(2) +
          '\n');
}

void AddOptions(CLI::App& ioApp, Options& outOptions) {
    ioApp.add_flag("--fork", outOptions.isFork,
                   "The file's resource fork, in its ._ companion, not the file itself");
    ioApp
        .add_option("--encoding", outOptions.encoding,
                    "Encoding of the texts in the file: utf-8 or mac-roman")
        ->type_name("ENCODING")
        ->check(CLI::IsMember({"utf-8", "mac-roman"}).description(""));
}

void Run(int inArgumentCount, char** inArguments) {
    Options options;
    CLI::App app("Makes resource files, and shows them.", "rez-pack");
    app.require_subcommand(1);
    app.set_version_flag("-V,--version", "rez-pack " MIRTAL_VERSION, "Print the version and exit");
    CLI::App* make = app.add_subcommand("make", "Make a resource file, in place of what it holds");
    make->add_option("DESCRIPTION", options.description, "The resources, in JSON")->type_name("")->required();
    make->add_option("FILE", options.file, "The resource file")->type_name("")->required();
    CLI::App* show = app.add_subcommand("show", "Show a resource file as a description");
    show->add_option("FILE", options.file, "The resource file")->type_name("")->required();
    AddOptions(*make, options);
    AddOptions(*show, options);
    try {
        app.parse(inArgumentCount, inArguments);
    } catch (const CLI::CallForHelp&) {
        return Print(app.help());
    } catch (const CLI::CallForVersion& version) {
        return Print(version.what() + std::string("\n"));
    } catch (const CLI::ParseError& error) {
        throw tool::Failure(EX_USAGE, {}, std::string(error.what()) + " (see rez-pack --help)");
    }
    make->parsed() ? Make(options) : Show(options);
}

}  // namespace

int main(int inArgumentCount, char** inArguments) {
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
