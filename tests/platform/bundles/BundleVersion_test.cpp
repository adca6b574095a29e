#include <bundles/BundleFolder.h>
#include <gtest/gtest.h>

using toolbox::corefoundation::PackVersion;

TEST(BundleVersion, Packs) {
    struct Example {
        const char* text;
        UInt32 packed;
    };
    const Example examples[] = {
        {"1", 0x01008000},         {"1.0", 0x01008000},    {"1.2.3", 0x01238000},  {"10.4.1", 0x10418000},
        {"99.9.9", 0x99998000},    {"0.1", 0x00108000},    {"1.0d1", 0x01002001},  {"1.0a12", 0x0100400C},
        {"10.4.1b12", 0x1041600C}, {"1.2b", 0x01206000},   {"1.0fc1", 0x01008001}, {"1.0f2", 0x01008002},
        {"1.0d255", 0x010020FF},   {" 1.2\n", 0x01208000}, {"007", 0x07008000},    {"2b3", 0x02006003},
        {"0", 0x00008000},
    };
    for (const Example& example : examples)
        EXPECT_EQ(example.packed, PackVersion(example.text)) << example.text;
}

TEST(BundleVersion, WhatIsNone) {
    for (const char* text : {"",
                             " ",
                             ".",
                             "a",
                             "b1",
                             "v1",
                             "1.",
                             "1..2",
                             "1.2.",
                             "1.2.3.4",
                             "100",
                             "1.10",
                             "1.0.10",
                             "1.0d256",
                             "1.0d99999999999",
                             "99999999999",
                             "1.0x",
                             "1.0d1 x",
                             "1,0",
                             "1.0 d1",
                             "-1",
                             "1.-1",
                             "1.0bb",
                             "1.0ff"})
        EXPECT_EQ(0U, PackVersion(text)) << text;
}
