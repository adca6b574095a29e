// Text in bytes to UTF-16 and back, strictly: what has no counterpart fails.
#pragma once

#include <toolbox/CFString.h>

namespace toolbox::corefoundation {

struct Encoded {
    CFIndex unitCount;  // units taken
    CFIndex byteCount;  // bytes written for them
};

// One encoding. Coders are static and may be used on any thread.
class Coder {
  public:
    static constexpr int kMaxBytesPerCodePoint = 4;

    // Whether the bytes below 0x80 are ASCII, each a character of its own.
    bool HoldsASCII() const { return mForm == Form::kASCIIAndMore; }
    // Whether text is a row of bytes, with no zero byte but for the character 0.
    bool HasByteUnits() const { return mForm != Form::kWideUnits; }

    // UTF-16 units that the bytes decode to, or kCFNotFound when they are seen not to be text in the
    // encoding.
    virtual CFIndex CountUnits(const UInt8* inBytes, CFIndex inByteCount) const = 0;
    // Decodes bytes of which CountUnits has said inUnitCount. False when they turn out not to be text; what
    // was written is then unspecified, and inside that count.
    [[nodiscard]] virtual bool Decode(const UInt8* inBytes, CFIndex inByteCount, UniChar* outUnits,
                                      CFIndex inUnitCount) const = 0;
    // Writes a code point, or a surrogate that has no partner; returns the bytes written, 0 when it cannot be
    // held.
    virtual int EncodeCodePoint(UInt32 inCodePoint, UInt8* outBytes) const = 0;
    // The same for units that are one character together; returns how many, 0 when they are none. inUnitCount
    // is not 0. Only of encodings that hold bytes but not ASCII.
    virtual CFIndex EncodeSequence(const UniChar* /*inUnits*/, CFIndex /*inUnitCount*/, UInt8* /*outBytes*/,
                                   int& /*outByteCount*/) const {
        return 0;
    }

    // As many characters as the coder can write in one run, which may be none: the others one by one.
    //   outBytes  null: bytes are counted only
    virtual Encoded EncodeRun(const UniChar* /*inUnits*/, CFIndex /*inUnitCount*/, UInt8* /*outBytes*/,
                              CFIndex /*inCapacity*/) const {
        return {0, 0};
    }

    // The most bytes that a UTF-16 unit of text takes.
    virtual int MaxBytesPerUnit() const = 0;

  protected:
    enum class Form { kASCIIAndMore, kBytes, kWideUnits };
    constexpr explicit Coder(Form inForm) : mForm(inForm) {}
    ~Coder() = default;

  private:
    Form mForm;
};

// Null when the encoding is not known or its tables cannot be had.
const Coder* FindCoder(CFStringEncoding inEncoding);
// The encodings of one byte for each character.
const Coder* FindSingleByteCoder(CFStringEncoding inEncoding);
// The encodings of one or two.
const Coder* FindDoubleByteCoder(CFStringEncoding inEncoding);

CFIndex CountLeadingASCII(const UInt8* inBytes, CFIndex inByteCount);

// Encodes until the end, the first character that the encoding cannot hold, or the first that does not fit.
//   inLossByte  stands in for each character that cannot be held, unless 0
//   outBytes    null: bytes are counted only
Encoded Encode(const Coder& inCoder, const UniChar* inUnits, CFIndex inUnitCount, UInt8 inLossByte,
               UInt8* outBytes, CFIndex inCapacity);

// The encoding that bytes from outside are in, and how many of them are a byte order mark. Only UTF-8 and
// those encodings that leave the order open have one; without it, these are big-endian.
CFStringEncoding ReadByteOrderMark(CFStringEncoding inEncoding, const UInt8* inBytes, CFIndex inByteCount,
                                   CFIndex* outMarkByteCount);
// Writes the mark that text of this encoding begins with outside, in the host's order: bytes written (0 when
// it takes none), or kCFNotFound when it does not fit. outBytes may be null.
CFIndex WriteByteOrderMark(CFStringEncoding inEncoding, UInt8* outBytes, CFIndex inCapacity);

}  // namespace toolbox::corefoundation
