// Asks whether a file that is there may be replaced.
#pragma once

#include <string>

namespace tool {

class Question {
  public:
    enum class Answer { kYes, kNo, kQuit };

    // inMayAsk: somebody is there to answer, and nothing else is read from standard input.
    explicit Question(bool inMayAsk) : mMayAsk(inMayAsk) {}

    bool MayAsk() const { return mMayAsk; }
    // Yes at once when "all" was answered before. Whatever is no answer, and the end of the input, is no.
    // Throws Interrupted.
    Answer Ask(const std::string& inPath);

  private:
    bool mMayAsk;
    bool mIsAll = false;
};

// Standard input and standard error are terminals.
bool HasTerminal();

}  // namespace tool
