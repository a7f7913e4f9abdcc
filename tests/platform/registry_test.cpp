// The registry read from export files, and version resources from the texts beside
// a module.

#include "platform/registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/version.h"
#include "tests/support/rows.h"
#include "tests/support/temp_directory.h"

namespace {

using namespace std::string_literals;

const std::string kHead = "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\A]\r\n";

struct Registry : testing::Test {
    Registry() {
        setenv("VRPLATFORM_REGISTRY", "export.reg", 1);
    }
    TempDirectory directory;
};

HKEY Open(const char* path, HKEY root = HKEY_LOCAL_MACHINE) {
    HKEY key = nullptr;
    const int32_t result = RegOpenKeyExA(root, path, 0, KEY_READ, &key);
    EXPECT_EQ(result, key == nullptr ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS);
    return key;
}

// "type:data" with ~ for zeros, or the error's number.
std::string Query(HKEY key, const char* name) {
    uint32_t type = 0;
    unsigned char data[100];
    uint32_t size = sizeof data;
    const int32_t result = RegQueryValueExA(key, name, nullptr, &type, data, &size);
    if (result != ERROR_SUCCESS) return std::to_string(result);
    std::replace(data, data + size, '\0', '~');
    return std::to_string(type) + ":" + std::string(data, data + size);
}

// The last two are cut off, which leaves the next line alone.
TEST_F(Registry, EachFormOfAValue) {
    for (const auto& [data, expected] :
         Rows<2>(R"("a\\b \"q\" C:\x" ; note -> 1:a\b "q" C:\x~ | dword:89abcdeF; -> )"
                 "4:\xEF\xCD\xAB\x89 |  \"\" \r -> 1:~ | \"\xC3\xA9\0b\"\r -> 1:\xC3\xA9~b~"
                 " | hex:01,2 , fF,\\\r\n  00,\\\r\n  7f\r -> 3:\x01\x02\xFF~\x7F"
                 " | hex(1):61 -> 1:a~ | hex(2):61,00 -> 2:a~ | hex(7):61,00,62 -> 7:a~b"
                 " | hex(ffffffff):01 -> 4294967295:\x01 | \"1\"\n;\"n\"=\"2\" -> 1:1~"
                 " | \"1\"\n\"N\"=-  -> 2 | hex:01,\\\n[HKEY_LOCAL_MACHINE\\B]\n\"n\"=\"2\" -> 3:\1"
                 " | hex:01,\\\n\"n\"=\"2\" -> 1:2~"s)) {
        WriteFile("export.reg", std::string(kHead).append("\t\"n\" =").append(data));
        EXPECT_EQ(Query(Open("A"), "N"), expected) << data;
    }
}

TEST_F(Registry, KeysMergeGoAndHaveParents) {
    WriteFile("export.reg",
              "REGEDIT4\n@=\"nowhere\"\n"
              "[HKEY_LOCAL_MACHINE\\A\\B\\C]\n@=\"1\"\n[HKEY_LOCAL_MACHINE\\A\\BC]\n@=\"2\"\n"
              "[HKEY_LOCAL_MACHINE\\a\\b\\c]\n\"w\"=\"3\"\n[HKEY_LOCAL_MACHINE\\A\\\\D]\n@=\"4\"\n"
              "[HKEY_LOCAL_MACHINE\\Gone\\Child]\n[HKEY_LOCAL_MACHINE\\Kept]\n"
              "[HKEY_LOCAL_MACHINE\\Again]\n@=\"0\"\n\"w\"=\"0\"\n"
              "[HKEY_LOCAL_MACHINE\\Broken\n@=\"nowhere\"\n"
              "[-hkey_local_machine\\gone]\n@=\"nowhere\"\n[-HKEY_LOCAL_MACHINE\\Again]\n"
              "[-HKEY_LOCAL_MACHINE\\Kept\\Child]\n[-HKEY_LOCAL_MACHINE\\Kep]\n"
              "[HKEY_LOCAL_MACHINE\\Again]\n\"w\"=\"5\"\n[HKEY_CURRENT_USER\\U]\n@=\"6\"");
    EXPECT_EQ(Query(Open("a\\b\\C\\"), nullptr), "1:1~");
    EXPECT_EQ(Query(Open("b\\c", Open("A")), "w"), "1:3~");
    EXPECT_EQ(Query(Open("A\\\\D"), ""), "1:4~");
    EXPECT_EQ(Query(Open("Again"), "w"), "1:5~");
    EXPECT_EQ(Query(Open("u", HKEY_CURRENT_USER), ""), "1:6~");
    for (const char* empty : {"A\\B\\", "Again", "Kept", ""})
        EXPECT_EQ(Query(Open(empty), nullptr), "2") << empty;
    for (const char* none : {"Gone", "Gone\\Child", "A\\D", "\\A", "Broken", "Broke", "U", "B"})
        EXPECT_EQ(Open(none), nullptr) << none;
}

#define VR_VERSION_5                                                                   \
    "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\Gr\u00F6\u20AC]" \
    "\r\n\"\u00C4\"=\"\u00E9\u0100\U0001F600.\"\r\n\"x\"=hex(2):e9,00,ac,20,\\\r\n"    \
    "  3d,d8,00,de,00,d8,2e,00\r\n\"m\"=hex(7):61,00,00,00,62\r\n\"b\"=hex:61,00\r\n"
const std::u16string kUtf16 = u"\uFEFF" VR_VERSION_5;
const std::string kWide(reinterpret_cast<const char*>(kUtf16.data()), 2 * kUtf16.size());

TEST_F(Registry, Version5IsLatin1InEachEncoding) {
    const std::string narrow = reinterpret_cast<const char*>(u8"" VR_VERSION_5);
    for (const std::string& bytes : {kWide, kWide + "x", narrow, "\xEF\xBB\xBF" + narrow}) {
        WriteFile("export.reg", bytes);
        HKEY key = Open("gR\xF6?");
        EXPECT_EQ(Query(key, "\xC4"), "1:\xE9??.~");
        EXPECT_EQ(Query(key, "\xE4"), "2");
        EXPECT_EQ(Query(key, "x"), "2:\xE9???.~");
        EXPECT_EQ(Query(key, "m"), "7:a~");
        EXPECT_EQ(Query(key, "b"), "3:a~");
    }
    WriteFile("export.reg", narrow + "\"i\"=\"\xE9\xC3\xE2\x82\xF0\x9F\x98\x80\xC3\"");
    EXPECT_EQ(Query(Open("gR\xF6?"), "i"), "1:\xE9\xC3\xE2\x82?\xC3~");
}

TEST_F(Registry, BuffersAreNeverOverrunAndHandlesChecked) {
    WriteFile("export.reg", kHead + "\"first\"=\"1234\"");
    HKEY key = Open("A");
    EXPECT_EQ(RegQueryValueExA(key, "first", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    for (uint32_t room = 0; room <= 7; ++room) {
        char name[] = "########";
        unsigned char data[] = "########";
        uint32_t size = room;
        uint32_t nameSize = room;
        EXPECT_EQ(RegQueryValueExA(key, "FIRST", nullptr, nullptr, data, &size),
                  room < 5 ? ERROR_MORE_DATA : ERROR_SUCCESS);
        EXPECT_EQ(size, 5u);
        EXPECT_EQ(std::string(data, data + 8), room < 5 ? "########" : "1234\0###"s);
        EXPECT_EQ(RegEnumValueA(key, 0, name, &nameSize, nullptr, nullptr, data, &size),
                  room < 6 ? ERROR_MORE_DATA : ERROR_SUCCESS);
        EXPECT_EQ(nameSize, 5u);
        EXPECT_EQ(std::string(name, 8), room < 6 ? "########" : "first\0##"s);
    }

    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_NE(Open("A"), key);
    for (HKEY bad : {key, HKEY(nullptr), HKEY(&key)}) {
        HKEY below = HKEY_LOCAL_MACHINE;
        EXPECT_EQ(RegOpenKeyExA(bad, "A", 0, KEY_READ, &below), ERROR_INVALID_HANDLE);
        EXPECT_EQ(below, nullptr);
        EXPECT_EQ(Query(bad, "first"), "6");
        EXPECT_EQ(RegEnumValueA(bad, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
                  ERROR_INVALID_HANDLE);
        EXPECT_EQ(RegCloseKey(bad), ERROR_INVALID_HANDLE);
    }
}

// The text with ~ for zeros, or "none".
std::string Text(const std::vector<char>& block, const std::string& query) {
    void* found = nullptr;
    uint32_t length = 0;
    if (VerQueryValueA(block.data(), query.c_str(), &found, &length) == 0) return "none";
    std::string text(static_cast<char*>(found), length);
    std::replace(text.begin(), text.end(), '\0', '~');
    return text;
}

TEST_F(Registry, VersionTextsByNameInABlockOfAnySize) {
    WriteFile("m.version",
              " ProductName \t= My = App \r\n;A=1\n # B=2\nno line\n=x\n"
              "productname=second\nEmpty=\r\nZero=a\0b\nLast=\xFF"s);
    const std::string language = "\\StringFileInfo\\040904b0\\";
    std::vector<char> block(GetFileVersionInfoSizeA("m", nullptr));
    ASSERT_EQ(GetFileVersionInfoA("m", 0, block.size(), block.data()), 1);
    EXPECT_EQ(Text(block, "\\STRINGFILEINFO\\00FfaAb0\\Empty"), "~");
    EXPECT_EQ(Text(block, "\\StringFileInfo\\040904g0\\Last"), "none");
    EXPECT_EQ(Text(block, "\\StringFileInfo\\"), "none");
    for (const auto& [name, text] :
         Rows<2>("PRODUCTNAME ->  My = App ~ | Zero -> a~b~ | last -> \xFF~ | ;A -> none"))
        EXPECT_EQ(Text(block, language + name), text) << name;
    for (size_t size = 1; size < block.size(); ++size) {
        std::vector<char> small(size, 'V');
        const int32_t filled = GetFileVersionInfoA("m", 0, size, small.data());
        EXPECT_EQ(Text(small, language + "ProductName"), filled == 1 ? " My = App ~" : "none");
        EXPECT_EQ(Text(small, language + "Last"), "none");
    }
    WriteFile("m.version", "; nothing\n");
    EXPECT_EQ(GetFileVersionInfoSizeA("m", nullptr), 0u);
    EXPECT_EQ(GetFileVersionInfoA(nullptr, 0, block.size(), block.data()), 0);
    EXPECT_EQ(block, std::vector<char>(block.size())) << "zeroed";
}

}  // namespace
