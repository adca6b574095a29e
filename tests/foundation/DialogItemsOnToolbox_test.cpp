// The ring around a default button as it looks. Each picture is left as a PNG file in the folder of the build
// tree that belongs to the test, for a person to look at, and compared pixel by pixel after it was read back.
#include "platform/interface/DialogTest.h"

#include <foundation/DialogItems.h>
#include <gtest/gtest.h>
#include <png.h>
#include <toolbox/Controls.h>
#include <toolbox/DialogWindows.h>
#include <toolbox/QuickDraw.h>
#include <toolbox/Resources.h>
#include <toolbox/Timer.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using test_interface::DialogBytes;
using test_interface::ItemList;
using test_interface::Picture;
using test_interface::PictureOf;

// Gray of 8 bits: what every viewer shows.
void WritePNG(const std::string& inPath, const Picture& inPicture) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(inPicture[0].size());
    image.height = static_cast<png_uint_32>(inPicture.size());
    image.format = PNG_FORMAT_GRAY;
    std::vector<png_byte> pixels;
    for (const std::string& line : inPicture)
        for (const char pixel : line)
            pixels.push_back(pixel == '#' ? 0 : 255);
    ASSERT_NE(0, png_image_write_to_file(&image, inPath.c_str(), 0, pixels.data(), 0, nullptr))
        << image.message;
}

Picture ReadPNG(const std::string& inPath) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(0, png_image_begin_read_from_file(&image, inPath.c_str())) << image.message;
    image.format = PNG_FORMAT_GRAY;
    std::vector<png_byte> pixels(PNG_IMAGE_SIZE(image));
    EXPECT_NE(0, png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) << image.message;
    Picture picture;
    for (std::size_t row = 0; row < image.height; ++row) {
        std::string line;
        for (std::size_t column = 0; column < image.width; ++column)
            line += pixels[row * image.width + column] < 128 ? '#' : '.';
        picture.push_back(line);
    }
    return picture;
}

constexpr SInt16 kButton = 1;

class DialogItemsOnToolboxTest : public test_interface::DialogTest {
  protected:
    // A button of 60 by 20 pixels, 8 from the edges.
    void Make() {
        OpenResources(
            DialogBytes(0, 0, 36, 76, kItemsID),
            ItemList().Add(ItemList::kButton, 8, 8, "OK").Add(ItemList::kEditText, 8, 8, "text").Get());
        mDialog = GetNewDialog(kDialogID, nullptr, nullptr);
        ASSERT_NE(nullptr, mDialog);
    }
    ~DialogItemsOnToolboxTest() override { DisposeDialog(mDialog); }

    // What the dialog shows, by way of a file.
    Picture Shown(const std::string& inName) const {
        const std::string path = std::string(MIRTAL_PICTURES "/") + inName + ".png";
        WritePNG(path, PictureOf(GetDialogPort(mDialog)));
        return ReadPNG(path);
    }

    DialogRef mDialog = nullptr;
};

// The upper left quarter, ring and button; the others are its mirror images.
const Picture kRingQuarter = {
    "......................................", "......................................",
    "......................................", "......................................",
    ".........#############################", ".......###############################",
    "......################################", ".....#####............................",
    ".....###...###########################", "....####.##...........................",
    "....###..#............................", "....###.#.............................",
    "....###.#.............................", "....###.#.............................",
    "....###.#.............................", "....###.#.............................",
    "....###.#.............................", "....###.#.............................",
};

TEST_F(DialogItemsOnToolboxTest, DefaultRing) {
    Make();
    const Picture plain = Shown("button");
    FrameDefault(mDialog, kButton, true);
    const Picture framed = Shown("default-ring");
    for (std::size_t v = 0; v < kRingQuarter.size(); ++v)
        EXPECT_EQ(kRingQuarter[v], framed[v].substr(0, 38)) << v;
    for (std::size_t v = 0; v < 36; ++v)
        for (std::size_t h = 0; h < 76; ++h) {
            EXPECT_EQ(framed[v][h], framed[35 - v][h]) << "upside down: " << h << " " << v;
            EXPECT_EQ(framed[v][h], framed[v][75 - h]) << "mirrored: " << h << " " << v;
        }
    FrameDefault(mDialog, kButton, false);
    EXPECT_EQ(plain, Shown("default-ring-erased")) << "nothing but the ring goes";
}

TEST_F(DialogItemsOnToolboxTest, PortAndPenAreAsBefore) {
    Make();
    const test_interface::OwnPort other({0, 0, 4, 4});
    SetPort(GetDialogPort(mDialog));
    PenSize(2, 5);
    PenMode(patXor);
    PenState before;
    GetPenState(&before);
    SetPort(other);
    FrameDefault(mDialog, kButton, true);
    GrafPtr current = nullptr;
    GetPort(&current);
    EXPECT_EQ(static_cast<GrafPtr>(other), current);
    EXPECT_EQ(Picture(4, "...."), other.Get());
    SetPort(GetDialogPort(mDialog));
    PenState after;
    GetPenState(&after);
    EXPECT_EQ(0, std::memcmp(&before, &after, sizeof before));
    SetPort(other);
}

TEST_F(DialogItemsOnToolboxTest, FlashButton) {
    Make();
    const UInt32 start = TickCount();
    FlashButton(mDialog, kButton);
    EXPECT_GE(TickCount() - start, 7U);
    const Picture picture = Shown("flashed-button");
    EXPECT_EQ('#', picture[18][38]) << "left highlighted";
    EXPECT_EQ('.', picture[4][38]) << "and nothing around it";
    EXPECT_EQ(1, GetControlHilite(ControlOf(mDialog, kButton)));
}

TEST_F(DialogItemsOnToolboxTest, TextDoesNotFlash) {
    Make();
    const Picture before = PictureOf(GetDialogPort(mDialog));
    FlashButton(mDialog, 2);
    FlashButton(mDialog, 3);
    EXPECT_EQ(before, PictureOf(GetDialogPort(mDialog)));
}

TEST_F(DialogItemsOnToolboxTest, FaceOfThePort) {
    const test_interface::OwnPort port({0, 0, 4, 4});
    SetBoldFace();
    EXPECT_EQ(bold, GetPortTextFace(port)) << "the application's encoding here is UTF-8";
}

}  // namespace
