#include "ScriptedImporters.h"

#include <toolbox/MacErrors.h>

namespace mirtal::fakes {

ImporterScript& Importers() {
    thread_local ImporterScript sScript;
    return sScript;
}

namespace {

OSStatus Play(const char* inName, const Import& inImport,
              const std::shared_ptr<const toolbox::movies::MediaFile>& inFile,
              toolbox::movies::ImportedMovie& outMovie, std::string& outProblem,
              const toolbox::movies::ImportOptions& inOptions) {
    Importers().asked.emplace_back(inName);
    Importers().options = inOptions;
    Importers().file = inFile;
    return inImport ? inImport(outMovie, outProblem) : cantFindHandler;
}

}  // namespace

}  // namespace mirtal::fakes

namespace toolbox::movies {

OSStatus ImportMPEG4(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                     std::string& outProblem, const ImportOptions& inOptions) {
    return mirtal::fakes::Play("mpeg4", mirtal::fakes::Importers().mpeg4, inFile, outMovie, outProblem,
                               inOptions);
}

OSStatus ImportADTS(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                    std::string& outProblem, const ImportOptions& inOptions) {
    return mirtal::fakes::Play("adts", mirtal::fakes::Importers().adts, inFile, outMovie, outProblem,
                               inOptions);
}

OSStatus ImportGeneral(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                       std::string& outProblem, const ImportOptions& inOptions) {
    return mirtal::fakes::Play("general", mirtal::fakes::Importers().general, inFile, outMovie, outProblem,
                               inOptions);
}

}  // namespace toolbox::movies
