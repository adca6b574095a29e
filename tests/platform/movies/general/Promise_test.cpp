// Files that are cut off, and what only looks like it.
#include "GeneralImports.h"
#include "decoder/SoundDecoder.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace toolbox::movies {
namespace {

using general_imports::Import;
using general_imports::Imported;
using general_imports::MakeFile;
using general_imports::Put32;

TEST(GeneralPromise, CutFilesKeepWhatIsThere) {
    std::string bytes = MakeFile(44100, 44100, "-ac 2 -c:a pcm_s16le", "wav");
    EXPECT_FALSE(Import(bytes).Sound().isCutOff);
    bytes.resize(bytes.size() - 4 * 1000);
    const Imported imported = Import(bytes);
    EXPECT_EQ(43100, imported.Sound().FrameCount());
    EXPECT_TRUE(imported.Sound().isCutOff);
}

// Whether the file is known to be cut off at its opening, or has packets that do not decode.
bool IsDamaged(const std::string& inBytes) {
    const Imported imported = Import(inBytes);
    if (imported.status != noErr || imported.Sound().isCutOff) return true;
    const auto reader = imported.Sound().packets->NewReader();
    SoundDecoder decoder;
    EXPECT_EQ(noErr, decoder.Open(imported.Sound().formats.at(0)));
    for (std::uint32_t packet = 0; packet < imported.Sound().packets->PacketCount(); ++packet) {
        PacketBytes bytes;
        if (reader->Read(packet, bytes) != noErr || decoder.Send(bytes) != SoundDecoder::Outcome::kNothing)
            return true;
        SoundDecoder::Outcome outcome = SoundDecoder::Outcome::kSound;
        while (outcome == SoundDecoder::Outcome::kSound)
            outcome = decoder.Receive();
        if (outcome == SoundDecoder::Outcome::kDamaged) return true;
    }
    return false;
}

// Wherever a file is cut within its sound, that shows.
TEST(GeneralPromise, WhatTheContainerPromisedAndDidNotHoldIsDamage) {
    struct Kind {
        const char* options;
        const char* extension;
        double soundEnd;  // in shares of the file: what lies behind are tags or an index
    };
    const Kind kinds[] = {
        {"-ac 2 -c:a pcm_s16le", "wav", 1},
        {"-ac 2 -c:a pcm_s16le -rf64 always", "wav", 1},
        {"-ac 2 -c:a pcm_s16le", "w64", 1},
        {"-ac 2 -c:a pcm_s16be", "aiff", 1},
        {"-ac 2 -c:a pcm_s16be", "caf", 1},
        {"-ac 2 -c:a pcm_s16be", "au", 1},
        {"-ac 2 -c:a flac", "flac", 1},
        {"-ac 2 -c:a libmp3lame", "mp3", 1},
        {"-ac 2 -c:a libmp3lame -q:a 4", "mp3", 1},
        {"-ac 2 -c:a libvorbis", "ogg", 1},
        {"-ac 2 -c:a libopus", "opus", 1},
        {"-ac 2 -c:a flac", "mka", 0.9},
        {"-ac 2 -c:a pcm_s16le", "avi", 0.9},
        {"-ac 2 -c:a wavpack", "wv", 1},
        {"-ac 2 -c:a tta", "tta", 0.99},
        {"-ac 2 -c:a wmav2", "wma", 0.9},
        {"-ac 2 -c:a pcm_s16be -movflags +faststart", "mov", 1},
    };
    for (const Kind& kind : kinds) {
        const std::string whole = MakeFile(48000, 96000, kind.options, kind.extension);
        ASSERT_FALSE(whole.empty());
        ASSERT_EQ(noErr, Import(whole).status) << kind.extension;
        EXPECT_FALSE(Import(whole).Sound().isCutOff) << kind.options << ' ' << kind.extension;
        EXPECT_FALSE(IsDamaged(whole)) << kind.options << ' ' << kind.extension;
        const auto end = static_cast<std::size_t>(static_cast<double>(whole.size()) * kind.soundEnd);
        for (const std::size_t cut : {end / 3, end / 2, end * 3 / 4, end - 5000, end - 100, end - 1})
            EXPECT_TRUE(IsDamaged(whole.substr(0, cut)))
                << kind.options << ' ' << kind.extension << ' ' << cut << " of " << whole.size();
    }
}

// Such a file has whole pages only, and none that says that it is the last.
TEST(GeneralPromise, OggThatEndsBetweenTwoPagesIsCutOff) {
    for (const auto& [options, extension] : {std::pair("-ac 2 -c:a libvorbis -page_duration 200000", "ogg"),
                                             std::pair("-ac 2 -c:a libopus -page_duration 200000", "opus")}) {
        const std::string whole = MakeFile(48000, 96000, options, extension);
        std::vector<std::size_t> pages;
        for (std::size_t page = 0; page != std::string::npos; page = whole.find("OggS", page + 1))
            pages.push_back(page);
        constexpr std::size_t kHeaderPages = 2;  // with one of sound behind them
        ASSERT_LT(kHeaderPages + 4, pages.size());
        EXPECT_FALSE(Import(whole).Sound().isCutOff) << extension;
        EXPECT_FALSE(Import(whole + "words that somebody put behind it").Sound().isCutOff) << extension;
        for (std::size_t page = kHeaderPages + 2; page < pages.size(); ++page) {
            const Imported imported = Import(whole.substr(0, pages[page]));
            ASSERT_EQ(noErr, imported.status) << imported.problem;
            EXPECT_TRUE(imported.Sound().isCutOff) << extension << ' ' << page << " of " << pages.size();
        }
    }
}

// As writers into pipes leave them.
TEST(GeneralPromise, SizesThatPromiseNothingAreKept) {
    for (const std::uint32_t size : {0U, 0xFFFFFFFFU}) {
        std::string wav = MakeFile(48000, 4800, "-c:a pcm_s16le", "wav");
        const std::size_t data = wav.find("data");
        ASSERT_NE(std::string::npos, data);
        Put32(wav, 4, size, false);
        Put32(wav, data + 4, size, false);
        EXPECT_FALSE(Import(wav).Sound().isCutOff) << size;
        EXPECT_EQ(4800, Import(wav).Sound().FrameCount()) << size;
        Put32(wav, data + 4, 0xFFFFFFFE, false);
        EXPECT_TRUE(Import(wav).Sound().isCutOff);
        std::string au = MakeFile(48000, 4800, "-c:a pcm_s16be", "au");
        Put32(au, 8, 0xFFFFFFFF, true);
        EXPECT_FALSE(Import(au).Sound().isCutOff);
    }
    std::string mp3 = MakeFile(48000, 48000, "-c:a libmp3lame -write_xing 0", "mp3");
    mp3.resize(mp3.size() / 2);
    EXPECT_FALSE(Import(mp3).Sound().isCutOff);
}

TEST(GeneralPromise, TagsAtTheEndAreNoCut) {
    std::string wav =
        MakeFile(48000, 4800, "-c:a pcm_s16le -metadata title=abcdefghijklmnopqrstuvwxyz", "wav");
    wav += std::string("LIST\x40\0\0\0INFO", 12);  // of which nothing follows
    EXPECT_FALSE(Import(wav).Sound().isCutOff);
    std::string mka = MakeFile(48000, 48000, "-c:a flac -metadata title=abcdefghijklmnopqrstuvwxyz", "mka");
    mka.resize(mka.size() - 10);
    EXPECT_FALSE(Import(mka).Sound().isCutOff);
    std::string mp3 = MakeFile(48000, 48000, "-c:a libmp3lame -write_id3v1 1 -metadata title=a", "mp3");
    EXPECT_EQ(0U, mp3.compare(mp3.size() - 128, 3, "TAG"));
    EXPECT_FALSE(IsDamaged(mp3));
    mp3.resize(mp3.size() - 64);
    EXPECT_FALSE(Import(mp3).Sound().isCutOff);
}

}  // namespace
}  // namespace toolbox::movies
