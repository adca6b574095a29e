#include "Arguments.h"

#include "Failure.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace tool {
namespace {

class Reader {
  public:
    Reader(int inCount, const char* const* inArguments, const std::vector<ArgumentOption>& inOptions,
           std::vector<std::string>& outNames)
        : mArguments(inArguments + std::min(1, inCount), inArguments + inCount),
          mOptions(inOptions),
          mNames(outNames) {}

    void Run() {
        while (!mIsDone && mAt < mArguments.size()) {
            const std::string argument = mArguments[mAt++];
            if (argument == "--") {
                mNames.insert(mNames.end(), mArguments.begin() + static_cast<std::ptrdiff_t>(mAt),
                              mArguments.end());
                return;
            }
            if (argument.size() < 2 || argument[0] != '-')
                mNames.push_back(argument);
            else if (argument[1] == '-')
                ReadLong(argument);
            else
                ReadLetters(argument);
        }
    }

  private:
    void ReadLong(const std::string& inArgument) {
        const std::size_t equals = inArgument.find('=');
        const std::string name = inArgument.substr(2, equals == std::string::npos ? equals : equals - 2);
        const auto option = std::find_if(mOptions.begin(), mOptions.end(),
                                         [&name](const ArgumentOption& each) { return name == each.name; });
        if (option == mOptions.end()) throw NoSuchOption(inArgument);
        if (option->valueName == nullptr) {
            if (equals != std::string::npos) throw UsageFailure("--" + name + " takes no value");
            Switch(*option);
        } else if (equals != std::string::npos) {
            SetValue(*option, inArgument.substr(equals + 1));
        } else {
            SetValue(*option, NextArgument(*option));
        }
    }

    void ReadLetters(const std::string& inArgument) {
        for (std::size_t at = 1; at < inArgument.size() && !mIsDone; ++at) {
            const char letter = inArgument[at];
            const auto option =
                std::find_if(mOptions.begin(), mOptions.end(),
                             [letter](const ArgumentOption& each) { return letter == each.letter; });
            if (option == mOptions.end()) throw NoSuchOption(inArgument);
            if (option->valueName != nullptr) {
                const std::string rest = inArgument.substr(at + 1);
                SetValue(*option, rest.empty() ? NextArgument(*option) : rest);
                return;
            }
            Switch(*option);
        }
    }

    std::string NextArgument(const ArgumentOption& inOption) {
        if (mAt == mArguments.size())
            throw UsageFailure(std::string("--") + inOption.name + " needs " + inOption.valueName);
        return mArguments[mAt++];
    }

    void Switch(const ArgumentOption& inOption) {
        *std::get<bool*>(inOption.target) = true;
        mIsDone = inOption.endsReading;
    }

    static void SetValue(const ArgumentOption& inOption, std::string inValue) {
        std::optional<std::string>& target = *std::get<std::optional<std::string>*>(inOption.target);
        if (target) throw UsageFailure(std::string("--") + inOption.name + " is given twice");
        target = std::move(inValue);
    }

    // The name of a file that begins with a dash is what an unknown option often is.
    static Failure NoSuchOption(const std::string& inArgument) {
        return Failure(EX_USAGE, inArgument, "no such option (a file of that name: ./" + inArgument + ")");
    }

    std::vector<std::string> mArguments;
    const std::vector<ArgumentOption>& mOptions;
    std::vector<std::string>& mNames;
    std::size_t mAt = 0;
    bool mIsDone = false;
};

std::string Forms(const ArgumentOption& inOption) {
    std::string forms = inOption.letter == 0 ? "    " : std::string("-") + inOption.letter + ", ";
    forms += std::string("--") + inOption.name;
    if (inOption.valueName != nullptr) forms += std::string(" ") + inOption.valueName;
    return forms;
}

}  // namespace

void ReadArguments(int inArgumentCount, const char* const* inArguments,
                   const std::vector<ArgumentOption>& inOptions, std::vector<std::string>& outNames) {
    Reader(inArgumentCount, inArguments, inOptions, outNames).Run();
}

std::string OptionsHelp(const std::vector<ArgumentOption>& inOptions) {
    constexpr std::size_t kHelpColumn = 28;
    std::string text;
    for (const ArgumentOption& option : inOptions) {
        std::string line = "  " + Forms(option);
        line.resize(std::max(line.size() + 2, kHelpColumn), ' ');
        text += line + option.help + '\n';
    }
    return text;
}

Failure UsageFailure(const std::string& inReason) {
    return Failure(EX_USAGE, {}, inReason + " (see " + CommandName() + " --help)");
}

}  // namespace tool
