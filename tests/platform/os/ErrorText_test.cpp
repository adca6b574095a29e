#include "support/MadeLocale.h"

#include <gtest/gtest.h>
#include <libintl.h>
#include <os/ErrorText.h>

#include <cerrno>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using toolbox::os::GetErrorText;

TEST(ErrorText, TheSystemsOwnWords) {
    EXPECT_STREQ("No such device or address", GetErrorText(ENXIO));
    EXPECT_STREQ("Too many levels of symbolic links", GetErrorText(ELOOP));
    EXPECT_STREQ("Unknown error 99999", GetErrorText(99999));
}

constexpr char kEnglish[] = "No such device or address";
constexpr char kGerman[] = "Kein Anschluss";

// A catalogue of translations with that one in it.
std::string Catalogue() {
    constexpr std::uint32_t kHeaderBytes = 28;
    constexpr std::uint32_t kEntryBytes = 8;
    constexpr std::uint32_t kEnglishOffset = kHeaderBytes + 2 * kEntryBytes;
    const std::uint32_t words[] = {0x950412DE,
                                   0,  // revision
                                   1,  // texts
                                   kHeaderBytes,
                                   kHeaderBytes + kEntryBytes,
                                   0,  // without a hash table
                                   kEnglishOffset,
                                   sizeof kEnglish - 1,
                                   kEnglishOffset,
                                   sizeof kGerman - 1,
                                   kEnglishOffset + sizeof kEnglish};
    return std::string(reinterpret_cast<const char*>(words), sizeof words) +
           std::string(kEnglish, sizeof kEnglish) + std::string(kGerman, sizeof kGerman);
}

TEST(ErrorText, DoesNotFollowTheLocale) {
    const support::MadeLocale locale(LC_MESSAGES, "LC_MESSAGES\nyesexpr \"^[jJ]\"\nEND LC_MESSAGES\n");
    const test_files::TemporaryFolder& folder = locale.Folder();
    const std::string domain = folder / (std::string(locale.kName) + "/LC_MESSAGES");
    ASSERT_TRUE(std::filesystem::is_directory(domain));
    std::ofstream(domain + "/libc.mo", std::ios::binary) << Catalogue();
    unsetenv("LANGUAGE");
    const std::string before = bindtextdomain("libc", nullptr);
    bindtextdomain("libc", folder.Path().c_str());
    const std::string translated = std::strerror(ENXIO);
    const std::string text = GetErrorText(ENXIO);
    bindtextdomain("libc", before.c_str());
    ASSERT_EQ(kGerman, translated) << "the locale that is not to be followed";
    EXPECT_EQ(kEnglish, text);
}

}  // namespace
