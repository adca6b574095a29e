// rez-pack: makes a resource file from a description in JSON, and shows one as such. See Records.h for the
// form.
#include "Files.h"
#include "Records.h"

#include <sysexits.h>
#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>

namespace {

using namespace rez_pack;

struct Options {
    std::string description;
    std::string file;
    bool isFork = false;
    CFStringEncoding encoding = kCFStringEncodingUTF8;

    Where Place() const { return isFork ? Where::kResourceFork : Where::kDataFork; }
};

void Make(const Options& inOptions) {
    std::ifstream stream(inOptions.description);
    if (!stream) throw FileError(inOptions.description, -43);
    JSON description;
    try {
        description = JSON::parse(stream);
    } catch (const JSON::exception& error) {
        throw DescriptionError(error.what());
    }
    WriteResources(inOptions.file, inOptions.Place(), RecordsOf(description, inOptions.encoding));
}

void Show(const Options& inOptions) {
    std::cout << DescriptionOf(ReadResources(inOptions.file, inOptions.Place()), inOptions.encoding).dump(2)
              << '\n';
    std::cout.flush();
    if (!std::cout) throw FileError("standard output", -36);
}

void AddOptions(CLI::App& ioApp, Options& outOptions) {
    ioApp.add_flag("--fork", outOptions.isFork,
                   "The file's resource fork, in its ._ companion, not the file itself");
    ioApp.add_option("--encoding", outOptions.encoding, "Encoding of the texts in the file")
        ->transform(CLI::CheckedTransformer(std::map<std::string, CFStringEncoding>{
            {"utf-8", kCFStringEncodingUTF8}, {"mac-roman", kCFStringEncodingMacRoman}}));
}

int Run(int inArgumentCount, char** inArguments) {
    Options options;
    CLI::App app("Makes resource files, and shows them");
    app.require_subcommand(1);
    CLI::App* make = app.add_subcommand("make", "Make a resource file, in place of what it holds");
    make->add_option("DESCRIPTION", options.description, "The resources, in JSON")->required();
    make->add_option("FILE", options.file, "The resource file")->required();
    CLI::App* show = app.add_subcommand("show", "Show a resource file as a description");
    show->add_option("FILE", options.file, "The resource file")->required();
    AddOptions(*make, options);
    AddOptions(*show, options);
    try {
        app.parse(inArgumentCount, inArguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EX_OK : EX_USAGE;
    }
    make->parsed() ? Make(options) : Show(options);
    return EX_OK;
}

}  // namespace

int main(int inArgumentCount, char** inArguments) {
    try {
        return Run(inArgumentCount, inArguments);
    } catch (const DescriptionError& error) {
        std::cerr << "rez-pack: " << error.what() << '\n';
        return EX_DATAERR;
    } catch (const FileError& error) {
        std::cerr << "rez-pack: " << error.what() << '\n';
        return EX_IOERR;
    } catch (const std::bad_alloc&) {
        std::cerr << "rez-pack: out of memory\n";
        return EX_OSERR;
    }
}
