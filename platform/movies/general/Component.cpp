#include "general/Component.h"

#include "Log.h"
#include "Survey.h"

#include <toolbox/MacErrors.h>

#include <exception>
#include <new>

namespace {

using namespace toolbox::movies;

OSStatus Import(const std::shared_ptr<const general::ByteSource>& inSource, ImportedMovie& outMovie,
                std::string& outProblem, const ImportOptions& inOptions) {
    const general::LogScope quiet;
    try {
        std::string problem;
        const OSStatus status = general::SurveyMovie(inSource, outMovie, problem, inOptions);
        if (status != noErr && status != cantFindHandler) outProblem = std::move(problem);
        return status;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    } catch (const std::exception&) {
        return invalidMovie;
    }
}

constexpr general::Interface kInterface = {general::kInterfaceVersion, &Import};

}  // namespace

extern "C" __attribute__((visibility("default"))) const general::Interface* MirtalGeneralImporterInterface(
    std::uint32_t inVersion) {
    return inVersion == general::kInterfaceVersion ? &kInterface : nullptr;
}
