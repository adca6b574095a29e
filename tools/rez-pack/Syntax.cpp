#include "Syntax.h"

#include "Printable.h"
#include "Records.h"

#include <algorithm>
#include <string_view>

namespace rez_pack {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kSpace = " \t\n\r";
constexpr std::string_view kWordEnd = " \t\n\r{}[],:\"";

// Walks through a text as a reader of JSON does. All throw DescriptionError.
class Walk {
  public:
    explicit Walk(std::string_view inText) : mText(inText) {
        if (mText.starts_with(kByteOrderMark)) mText.remove_prefix(kByteOrderMark.size());
    }

    void Run() {
        Value("a description");
        if (!IsAtEnd()) Fail("there is more behind the end of the description");
    }

  private:
    bool IsAtEnd() {
        mAt = std::min(mText.find_first_not_of(kSpace, mAt), mText.size());
        return mAt == mText.size();
    }

    bool Is(char inCharacter) { return !IsAtEnd() && mText[mAt] == inCharacter; }

    bool Take(char inCharacter) {
        const bool isThere = Is(inCharacter);
        mAt += isThere ? 1 : 0;
        return isThere;
    }

    void Value(const char* inName) {
        if (Take('{'))
            Object();
        else if (Take('['))
            List();
        else if (Is('"'))
            Text();
        else
            Word(inName);
    }

    void Enter() {
        if (++mDepth <= kMaxDepth) return;
        --mAt;
        Fail("nested too deeply");
    }

    void Object() {
        Enter();
        bool isFirst = true;
        while (!(isFirst && Take('}'))) {
            if (!Is('"')) Due(isFirst ? "a name in quotes or }" : "a name in quotes");
            Text();
            if (!Take(':')) Due("a colon");
            Value("a value");
            if (Take('}')) break;
            if (!Take(',')) Due("a comma or }");
            isFirst = false;
        }
        --mDepth;
    }

    void List() {
        Enter();
        bool isFirst = true;
        while (!(isFirst && Take(']'))) {
            Value(isFirst ? "a value or ]" : "a value");
            if (Take(']')) break;
            if (!Take(',')) Due("a comma or ]");
            isFirst = false;
        }
        --mDepth;
    }

    void Text() {
        const std::size_t begin = mAt;
        for (++mAt; mAt < mText.size() && mText[mAt] != '"'; ++mAt) {
            if (static_cast<unsigned char>(mText[mAt]) < 0x20)
                Fail(
                    "a text ends with the line, or has a character that must be written as \\u and its "
                    "number");
            if (mText[mAt] == '\\') ++mAt;
        }
        const bool isClosed = mAt < mText.size();
        const std::string text(mText.substr(begin, mAt + 1 - begin));
        mAt = isClosed ? mAt + 1 : begin;
        if (!isClosed) Fail("a text has no quote at its end");
        if (JSON::accept(text)) return;
        mAt = begin;
        Fail(tool::IsUTF8(text) ? "a text has a backslash that is followed by nothing known"
                                : "a text is not in UTF-8");
    }

    // A number, true, false or null.
    void Word(const char* inName) {
        const std::string word = WordAt();
        if (word.empty()) Due(inName);
        if (!JSON::accept(word)) Fail("there is no value " + Quoted(word));
        mAt += word.size();
    }

    // Empty at the end and before punctuation.
    std::string WordAt() {
        if (IsAtEnd()) return {};
        return std::string(
            mText.substr(mAt, std::min(mText.find_first_of(kWordEnd, mAt), mText.size()) - mAt));
    }

    [[noreturn]] void Due(const std::string& inWhat) {
        if (IsAtEnd()) Fail("the text ends where " + inWhat + " is due");
        const std::string word = WordAt();
        Fail(inWhat + " is due, not " + (word.empty() ? std::string(1, mText[mAt]) : Quoted(word)));
    }

    [[noreturn]] void Fail(const std::string& inWhy) const {
        const std::string_view before = mText.substr(0, mAt);
        const auto line = std::count(before.begin(), before.end(), '\n') + 1;
        const std::size_t lineStart = before.find_last_of('\n') + 1;
        const auto column = std::count_if(before.begin() + static_cast<std::ptrdiff_t>(lineStart),
                                          before.end(), [](char inByte) { return (inByte & 0xC0) != 0x80; }) +
                            1;
        throw DescriptionError("line " + std::to_string(line) + ", column " + std::to_string(column) + ": " +
                               inWhy);
    }

    std::string_view mText;
    std::size_t mAt = 0;
    int mDepth = 0;
};

}  // namespace

std::string SyntaxFault(const std::string& inText) {
    try {
        Walk(inText).Run();
    } catch (const DescriptionError& error) {
        return error.what();
    }
    return "is no JSON";
}

}  // namespace rez_pack
