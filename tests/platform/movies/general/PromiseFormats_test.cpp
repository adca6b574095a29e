// Containers put together by hand, for want of a tool that writes them, and cut; and sizes that promise
// nothing.
#include "GeneralImports.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace toolbox::movies {
namespace {

using general_imports::Import;
using general_imports::Imported;
using general_imports::MakeFile;

std::string Big(std::uint64_t inValue, int inByteCount) {
    std::string bytes;
    while (inByteCount-- > 0)
        bytes += static_cast<char>(inValue >> 8 * inByteCount);
    return bytes;
}

std::string Little(std::uint64_t inValue, int inByteCount) {
    const std::string bytes = Big(inValue, inByteCount);
    return {bytes.rbegin(), bytes.rend()};
}

const std::string kSound(8000, '\x11');

// The whole is whole; without its last bytes, wherever it ends within the sound, it is cut off.
void ExpectCutsShow(const std::string& inWhole, std::size_t inSoundEnd) {
    const Imported whole = Import(inWhole);
    ASSERT_EQ(noErr, whole.status) << whole.problem;
    EXPECT_FALSE(whole.Sound().isCutOff);
    EXPECT_LT(0, whole.Sound().FrameCount());
    for (const std::size_t missing : {1, 100, 4000}) {
        const Imported cut = Import(inWhole.substr(0, inSoundEnd - missing));
        ASSERT_EQ(noErr, cut.status) << cut.problem;
        EXPECT_TRUE(cut.Sound().isCutOff) << missing;
    }
}

TEST(GeneralPromiseFormats, VOC) {
    constexpr char kDivisorOf8000Hz = '\x83';
    const std::string head = std::string("Creative Voice File\x1A") + Little(26, 2) + Little(0x010A, 2) +
                             Little(0x1129, 2) + '\x01' + Little(kSound.size() + 2, 3) + kDivisorOf8000Hz +
                             '\0';
    ExpectCutsShow(head + kSound + '\0', head.size() + kSound.size());
    // Without the end that it should have.
    EXPECT_FALSE(Import(head + kSound).Sound().isCutOff);
    // What lies behind the end is no block.
    EXPECT_FALSE(Import(head + kSound + '\0' + '\x05' + Little(1000, 3) + "text").Sound().isCutOff);
    std::string endless = head + kSound;
    endless.replace(27, 3, "\xFF\xFF\xFF");
    EXPECT_FALSE(Import(endless).Sound().isCutOff);
}

TEST(GeneralPromiseFormats, QCP) {
    // Frames of QCELP at full rate: a byte that says so, and 34.
    std::string sound;
    for (int frame = 0; frame < 200; ++frame)
        sound += '\x04' + std::string(34, '\0');
    const std::string codec("\x41\x6d\x7f\x5e\x15\xb1\xd0\x11\xba\x91\x00\x80\x5f\xb4\xb9\x7e", 16);
    const std::string format = Little(1, 2) + codec + Little(1, 2) + std::string(80, '\0') +
                               Little(14000, 2) + Little(35, 2) + Little(160, 2) + Little(8000, 2) +
                               Little(16, 2) + Little(0, 4) + std::string(36, '\0');
    const std::string head =
        "QLCMfmt " + Little(format.size(), 4) + format + "data" + Little(sound.size(), 4);
    const std::string whole = "RIFF" + Little(head.size() + sound.size(), 4) + head + sound;
    ExpectCutsShow(whole, whole.size());
}

TEST(GeneralPromiseFormats, EightBitSampledVoice) {
    const std::string body = "8SVXVHDR" + Big(20, 4) + Big(kSound.size(), 4) + Big(0, 8) + Big(8000, 2) +
                             '\x01' + '\0' + Big(0x10000, 4) + "BODY" + Big(kSound.size(), 4) + kSound;
    const std::string whole = "FORM" + Big(body.size(), 4) + body;
    ExpectCutsShow(whole, whole.size());
}

TEST(GeneralPromiseFormats, RIFX) {
    const std::string body = "WAVEfmt " + Big(16, 4) + Big(1, 2) + Big(1, 2) + Big(8000, 4) + Big(16000, 4) +
                             Big(2, 2) + Big(16, 2) + "data" + Big(kSound.size(), 4) + kSound;
    const std::string whole = "RIFX" + Big(body.size(), 4) + body;
    ExpectCutsShow(whole, whole.size());
}

TEST(GeneralPromiseFormats, DSF) {
    constexpr std::size_t kBlockBytes = 4096;
    const std::string sound(10 * kBlockBytes, '\x69');
    const std::string format = "fmt " + Little(52, 8) + Little(1, 4) + Little(0, 4) + Little(1, 4) +
                               Little(1, 4) + Little(2822400, 4) + Little(1, 4) +
                               Little(sound.size() * 8, 8) + Little(kBlockBytes, 4) + Little(0, 4);
    const std::string data = "data" + Little(sound.size() + 12, 8) + sound;
    const std::string whole =
        "DSD " + Little(28, 8) + Little(28 + format.size() + data.size(), 8) + Little(0, 8) + format + data;
    ExpectCutsShow(whole, whole.size());
}

// As writers into pipes leave them. The same file is cut off when its size is told.
void ExpectPromisesNothing(std::string inWhole, std::size_t inSizeAt, const std::string& inNoSize) {
    inWhole.resize(inWhole.size() - 1000);
    const Imported told = Import(inWhole);
    ASSERT_EQ(noErr, told.status) << told.problem;
    EXPECT_TRUE(told.Sound().isCutOff);
    inWhole.replace(inSizeAt, inNoSize.size(), inNoSize);
    const Imported untold = Import(inWhole);
    ASSERT_EQ(noErr, untold.status) << untold.problem;
    EXPECT_FALSE(untold.Sound().isCutOff);
    EXPECT_LT(0, untold.Sound().FrameCount());
}

// libavformat finds no end of them, and reads none.
TEST(GeneralPromiseFormats, RF64AndWave64WithoutASizeAreRefused) {
    const std::string large = MakeFile(48000, 4800, "-c:a pcm_s16le -rf64 always", "wav");
    const std::string wave64 = MakeFile(48000, 4800, "-c:a pcm_s16le", "w64");
    for (const auto& [whole, name] : {std::pair(large, "ds64"), std::pair(wave64, "data")}) {
        const std::size_t chunk = whole.find(name);
        ASSERT_NE(std::string::npos, chunk);
        EXPECT_EQ(noErr, Import(whole).status) << name;
        for (const char size : {'\0', '\xFF'}) {
            std::string endless = whole;
            endless.replace(chunk + 16, 8, 8, size);
            EXPECT_EQ(invalidMovie, Import(endless).status) << name;
        }
    }
}

TEST(GeneralPromiseFormats, CAFOfUnknownSize) {
    const std::string whole = MakeFile(48000, 4800, "-c:a pcm_s16be", "caf");
    const std::size_t data = whole.find("data");
    ASSERT_NE(std::string::npos, data);
    ExpectPromisesNothing(whole, data + 4, std::string(8, '\xFF'));
}

TEST(GeneralPromiseFormats, MatroskaRecordedLive) {
    const std::string whole = MakeFile(48000, 48000, "-c:a flac -cues_to_front 0", "mka");
    const std::size_t cluster = whole.find("\x1F\x43\xB6\x75");
    ASSERT_NE(std::string::npos, cluster);
    ASSERT_EQ(std::string::npos, whole.find("\x1F\x43\xB6\x75", cluster + 1)) << "one is looked at here";
    // As many ones as the size has bits; in its first byte, the zeros in front tell how many bytes it has.
    const auto first = static_cast<unsigned char>(whole[cluster + 4]);
    ASSERT_NE(0, first);
    int sizeBytes = 1;
    while ((first << (sizeBytes - 1) & 0x80) == 0)
        ++sizeBytes;
    const std::string ones = static_cast<char>(0xFF >> (sizeBytes - 1)) +
                             std::string(static_cast<std::size_t>(sizeBytes - 1), '\xFF');
    ExpectPromisesNothing(whole, cluster + 4, ones);
}

TEST(GeneralPromiseFormats, FLACWithoutATotal) {
    const std::string whole = MakeFile(48000, 48000, "-c:a flac", "flac");
    constexpr std::size_t kInfo = 8;
    ASSERT_EQ(0, whole[kInfo + 13] & 0x0F) << "what else the byte holds stays";
    ExpectPromisesNothing(whole, kInfo + 14, std::string(4, '\0'));
}

}  // namespace
}  // namespace toolbox::movies
