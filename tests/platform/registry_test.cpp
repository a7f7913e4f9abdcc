// The registry read from export files, and version resources from the texts beside
// a module.

#include "platform/registry.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "platform/version.h"

namespace {

using namespace std::string_literals;

const std::string kFolderAndStem = testing::TempDir() + "vr" + std::to_string(getpid());
const std::string kHead = "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\A]\r\n";

const std::string kExportFile = kFolderAndStem + ".reg";
const std::string kVersionFile = kFolderAndStem + ".version";

void Write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

struct Registry : testing::Test {
    Registry() {
        setenv("VRPLATFORM_REGISTRY", kExportFile.c_str(), 1);
    }
    ~Registry() override {
        unlink(kExportFile.c_str());
        unlink(kVersionFile.c_str());
    }
};

HKEY Open(const char* path, HKEY root = HKEY_LOCAL_MACHINE) {
    HKEY key = nullptr;
    const int32_t result = RegOpenKeyExA(root, path, 0, KEY_READ, &key);
    EXPECT_EQ(result, key == nullptr ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS);
    return key;
}

// "type:data", or the error's number.
std::string Query(HKEY key, const char* name) {
    uint32_t type = 0;
    unsigned char data[100];
    uint32_t size = sizeof data;
    const int32_t result = RegQueryValueExA(key, name, nullptr, &type, data, &size);
    if (result != ERROR_SUCCESS) return std::to_string(result);
    return std::to_string(type) + ":" + std::string(reinterpret_cast<char*>(data), size);
}

// The names of all values in their order, or the error's number.
std::string Names(HKEY key) {
    std::string names;
    char name[8];
    uint32_t size = 0;
    int32_t result = ERROR_SUCCESS;
    for (uint32_t index = 0; result == ERROR_SUCCESS; ++index) {
        names.append(name, size);
        size = sizeof name;
        result = RegEnumValueA(key, index, name, &size, nullptr, nullptr, nullptr, nullptr);
    }
    return result == ERROR_NO_MORE_ITEMS ? names : std::to_string(result);
}

const std::string kAbsent = std::to_string(ERROR_FILE_NOT_FOUND);

TEST_F(Registry, EachFormOfAValue) {
    const std::string rows[][2] = {
        {R"("a\\b \"q\" C:\x" ; note)", "1:a\\b \"q\" C:\\x\0"s},
        {" \"\" \r", "1:\0"s},
        {"\"\xC3\xA9\0b\"\r"s, "1:\xC3\xA9\0b\0"s},
        {"dword:89abcdeF;", "4:\xEF\xCD\xAB\x89"},
        {"hex:01,2 , fF,\\\r\n  00,\\\r\n  7f\r", "3:\x01\x02\xFF\0\x7F"s},
        {"hex(1):61", "1:a\0"s},
        {"hex(2):61,00", "2:a\0"s},
        {"hex(7):61,00,62", "7:a\0b"s},
        {"hex(ffffffff):01", "4294967295:\x01"},
        {"\"1\"\n;\"n\"=\"2\"", "1:1\0"s},
        {"\"1\"\n\"N\"=- ", kAbsent},
        // A value that was cut off leaves the next line alone.
        {"hex:01,\\\n[HKEY_LOCAL_MACHINE\\B]\n\"n\"=\"2\"", "3:\x01"},
        {"hex:01,\\\n\"n\"=\"2\"", "1:2\0"s},
    };
    for (const auto& [data, expected] : rows) {
        Write(kExportFile, std::string(kHead).append("\t\"n\" =").append(data));
        EXPECT_EQ(Query(Open("A"), "N"), expected) << data;
    }
}

TEST_F(Registry, KeysMergeGoAndHaveParents) {
    std::string lines = "REGEDIT4\n@=\"nowhere\"\n";
    for (const char* line :
         {"A\\B\\C]\n@=\"1\"", "A\\BC]\n@=\"2\"", "a\\b\\c]\n\"w\"=\"3\"", "A\\\\D]\n@=\"4\"",
          "Gone\\Child]", "Again]\n@=\"0\"\n\"w\"=\"0\"", "Kept]", "Broken\n@=\"nowhere\""}) {
        lines += "[HKEY_LOCAL_MACHINE\\" + std::string(line) + "\n";
    }
    for (const char* key : {"gone", "Again", "Kept\\Child", "Kep"})
        lines += "[-hkey_local_machine\\" + std::string(key) + "]\n@=\"nowhere\"\n";
    Write(kExportFile,
          lines + "[HKEY_LOCAL_MACHINE\\Again]\n\"w\"=\"5\"\n[HKEY_CURRENT_USER\\U]\n@=\"6\"");
    EXPECT_EQ(Query(Open("a\\b\\C\\"), nullptr), "1:1\0"s);
    EXPECT_EQ(Query(Open("b\\c", Open("A")), "w"), "1:3\0"s);
    EXPECT_EQ(Query(Open("A\\\\D"), ""), "1:4\0"s);
    EXPECT_EQ(Query(Open("Again"), "w"), "1:5\0"s);
    EXPECT_EQ(Query(Open("u", HKEY_CURRENT_USER), ""), "1:6\0"s);
    for (const char* empty : {"A\\B\\", "Again", "Kept", ""})
        EXPECT_EQ(Query(Open(empty), nullptr), kAbsent) << empty;
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
        Write(kExportFile, bytes);
        HKEY key = Open("gR\xF6?");
        EXPECT_EQ(Query(key, "\xC4"), "1:\xE9??.\0"s);
        EXPECT_EQ(Query(key, "\xE4"), kAbsent);
        EXPECT_EQ(Query(key, "x"), "2:\xE9???.\0"s);
        EXPECT_EQ(Query(key, "m"), "7:a\0"s);
        EXPECT_EQ(Query(key, "b"), "3:a\0"s);
    }
    Write(kExportFile, narrow + "\"i\"=\"\xE9\xC3\xE2\x82\xF0\x9F\x98\x80\xC3\"");
    EXPECT_EQ(Query(Open("gR\xF6?"), "i"), "1:\xE9\xC3\xE2\x82?\xC3\0"s);
}

TEST_F(Registry, BuffersAreNeverOverrun) {
    Write(kExportFile, kHead + "\"first\"=\"1234\"");
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
}

TEST_F(Registry, HandlesAreChecked) {
    Write(kExportFile, kHead + "\"b\"=\"x\"");
    HKEY closed = Open("A");
    EXPECT_EQ(RegCloseKey(closed), ERROR_SUCCESS);
    EXPECT_NE(Open("A"), closed);
    for (HKEY key : {closed, HKEY(nullptr), HKEY(&closed)}) {
        HKEY below = HKEY_LOCAL_MACHINE;
        EXPECT_EQ(RegOpenKeyExA(key, "A", 0, KEY_READ, &below), ERROR_INVALID_HANDLE);
        EXPECT_EQ(below, nullptr);
        EXPECT_EQ(Query(key, "b"), std::to_string(ERROR_INVALID_HANDLE));
        EXPECT_EQ(Names(key), Query(key, "b"));
        EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
    }
}

// The text, or "none".
std::string Text(const std::vector<char>& block, const std::string& query) {
    void* text = nullptr;
    uint32_t length = 0;
    const int32_t found = VerQueryValueA(block.data(), query.c_str(), &text, &length);
    return found == 0 ? "none" : std::string(static_cast<char*>(text), length);
}

TEST_F(Registry, VersionTextsByNameInABlockOfAnySize) {
    Write(kVersionFile,
          " ProductName \t= My = App \r\n;A=1\n # B=2\nno line\n=x\n"
          "productname=second\nEmpty=\r\nZero=a\0b\nLast=\xFF"s);
    const char* module = kFolderAndStem.c_str();
    const std::string language = "\\StringFileInfo\\040904b0\\";
    std::vector<char> block(GetFileVersionInfoSizeA(module, nullptr));
    ASSERT_EQ(GetFileVersionInfoA(module, 0, block.size(), block.data()), 1);
    const std::string rows[][2] = {
        {language + "PRODUCTNAME", " My = App \0"s},
        {"\\STRINGFILEINFO\\00FfaAb0\\Empty", "\0"s},
        {language + "Zero", "a\0b\0"s},
        {language + "last", "\xFF\0"s},
        {language + ";A", "none"},
        {"\\StringFileInfo\\040904g0\\Last", "none"},
        {"\\StringFileInfo\\", "none"},
    };
    for (const auto& [query, expected] : rows)
        EXPECT_EQ(Text(block, query), expected) << query;
    for (size_t size = 1; size < block.size(); ++size) {
        std::vector<char> small(size, 'V');
        const int32_t filled = GetFileVersionInfoA(module, 0, size, small.data());
        EXPECT_EQ(Text(small, rows[0][0]), filled == 1 ? rows[0][1] : "none");
        EXPECT_EQ(Text(small, rows[3][0]), "none");
    }

    // Without a resource the block is zeroed.
    Write(kVersionFile, "; nothing\n");
    EXPECT_EQ(GetFileVersionInfoSizeA(module, nullptr), 0u);
    EXPECT_EQ(GetFileVersionInfoA(nullptr, 0, block.size(), block.data()), 0);
    EXPECT_EQ(block, std::vector<char>(block.size()));
}

}  // namespace
