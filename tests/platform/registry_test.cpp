// The registry read from export files, and version resources from the texts beside
// a module.

#include <gtest/gtest.h>

#include "tests/support/rows.h"
#include "tests/support/temp_directory.h"

namespace {

using namespace std::string_literals;

struct Registry : testing::Test {
    Registry() {
        setenv("VRPLATFORM_REGISTRY", "export.reg", 1);
    }
    TempDirectory directory;
};

// "type:data" with ~ for zeros, or the error's number. Another key is open at the same time.
std::string Query(const std::string& path, const std::string& name) {
    HKEY key = nullptr, other = nullptr;
    uint32_t type = 0;
    unsigned char data[100];
    uint32_t size = sizeof data;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != 0) return "no key";
    RegOpenKeyExA(HKEY_LOCAL_MACHINE, "A", 0, KEY_READ, &other);
    const int32_t result = RegQueryValueExA(key, name.c_str(), nullptr, &type, data, &size);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    RegCloseKey(other);
    if (result != ERROR_SUCCESS) return std::to_string(result);
    std::replace(data, data + size, '\0', '~');
    return std::to_string(type) + ":" + std::string(data, data + size);
}

// The last two are cut off, which leaves the next line alone.
TEST_F(Registry, EachFormOfAValue) {
    const std::pair<std::string, std::string> cases[] = {
        {R"("a\\b \"q\" C:\x" ; note)", R"(1:a\b "q" C:\x~)"},
        {"dword:89abcdeF;", "4:\xEF\xCD\xAB\x89"},
        {" \"\" \r", "1:~"},
        {"\"\xC3\xA9\0b\"\r"s, "1:\xC3\xA9~b~"},
        {"hex:01,2 , fF,\\\r\n  00,\\\r\n  7f\r", "3:\x01\x02\xFF~\x7F"},
        {"hex(1):61", "1:a~"},
        {"hex(2):61,00", "2:a~"},
        {"hex(7):61,00,62", "7:a~b"},
        {"hex(ffffffff):01", "4294967295:\x01"},
        {"\"1\"\n;\"n\"=\"2\"", "1:1~"},
        {"\"1\"\n\"N\"=- ", "2"},
        {"hex:01,\\\n[HKEY_LOCAL_MACHINE\\B]\n\"n\"=\"2\"", "3:\1"},
        {"hex:01,\\\n\"n\"=\"2\"", "1:2~"},
    };
    for (const auto& [data, expected] : cases) {
        WriteFile("export.reg", "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\A]\r\n\t\"n\" =" + data);
        EXPECT_EQ(Query("A", "N"), expected) << data;
    }
}

TEST_F(Registry, KeysMergeGoAndHaveParents) {
    WriteFile("export.reg",
              "REGEDIT4\n@=\"nowhere\"\n"
              "[HKEY_LOCAL_MACHINE\\A\\B\\C]\n@=\"1\"\n[HKEY_LOCAL_MACHINE\\a\\b\\c]\n\"w\"=\"3\"\n"
              "[HKEY_LOCAL_MACHINE\\A\\\\D]\n@=\"4\"\n[HKEY_LOCAL_MACHINE\\Gone\\Child]\n"
              "[HKEY_LOCAL_MACHINE\\Again]\n@=\"0\"\n[HKEY_LOCAL_MACHINE\\Broken\n@=\"nowhere\"\n"
              "[-hkey_local_machine\\gone]\n@=\"nowhere\"\n[-HKEY_LOCAL_MACHINE\\Again]\n"
              "[HKEY_LOCAL_MACHINE\\Again]\n\"w\"=\"5\"");
    for (const auto& [path, name, value] : Rows<3>(R"(
            a\b\C\ ->   -> 1:1~
            A\B\C  -> W -> 1:3~
            A\\D   ->   -> 1:4~
            Again  -> w -> 1:5~
            A\B\   ->   -> 2
            Again  ->   -> 2
                   ->   -> 2
            Gone   ->   -> no key
            A\D    ->   -> no key
            \A     ->   -> no key
            Broken ->   -> no key)"))
        EXPECT_EQ(Query(path, name), value) << path;
    HKEY parent = nullptr, child = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "A", 0, KEY_READ, &parent), ERROR_SUCCESS);
    EXPECT_EQ(RegOpenKeyExA(parent, "b\\c", 0, KEY_READ, &child), ERROR_SUCCESS);
    RegCloseKey(child);
    RegCloseKey(parent);
}

// Two seconds after a change what was read is kept, until the next one.
TEST_F(Registry, AChangeIsSeenByTheNextOpening) {
    const auto write = [](const char* value) {
        WriteFile("export.reg", std::string("REGEDIT4\n[HKEY_LOCAL_MACHINE\\A]\n@=\"") + value +
                                    "\"\n\"w\"=-\n\"W\"=\"2\"\n\"v\"=\"3\"");
    };
    write("1");
    sleep(3);
    for (int call = 0; call < 2; ++call)
        for (const auto& [path, name, value] : Rows<3>(R"(
                A ->   -> 1:1~
                a -> w -> 1:2~
                A -> V -> 1:3~
                B ->   -> no key)"))
            EXPECT_EQ(Query(path, name), value) << path << ' ' << name;
    HKEY key = nullptr;
    RegOpenKeyExA(HKEY_LOCAL_MACHINE, "A", 0, KEY_READ, &key);
    write("9");
    EXPECT_EQ(Query("A", ""), "1:9~");
    unsigned char data[9] = {};
    uint32_t size = sizeof data;
    RegQueryValueExA(key, "", nullptr, nullptr, data, &size);
    EXPECT_EQ(data[0], '1') << "of a key that is open";
    unlink("export.reg");
    EXPECT_EQ(Query("A", ""), "no key");
}

// The fuzz target compares the encodings, and reads into blocks of just the size.
TEST_F(Registry, Version5IsLatin1) {
    WriteFile(
        "export.reg",
        "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\Gr\xC3\xB6\xE2\x82\xAC]"
        "\r\n\"\xC3\x84\"=\"\xC3\xA9\xC2\xA7\xF0\x9F\x98\x80.\"\r\n\"x\"=hex(2):e9,00,ac,20,\\\r\n"
        "  3d,d8,00,de,00,d8,2e,00\r\n\"m\"=hex(7):61,00,00,00,62\r\n\"b\"=hex:61,00\r\n");
    const std::string key = "gR\xF6?";
    EXPECT_EQ(Query(key, "\xC4"), "1:\xE9\xA7?.~");
    EXPECT_EQ(Query(key, "x"), "2:\xE9???.~");
    EXPECT_EQ(Query(key, "m"), "7:a~");
    EXPECT_EQ(Query(key, "b"), "3:a~");
}

TEST_F(Registry, VersionTextsByName) {
    WriteFile("m.version",
              "\xEF\xBB\xBF ProductName \t= My = App \r\n;A=1\n # B=2\nno line\n=x\n"
              "productname=second\nEmpty=\r\nLast=\xFF");
    std::vector<char> block(GetFileVersionInfoSizeA("m", nullptr));
    ASSERT_EQ(GetFileVersionInfoA("m", 0, block.size(), block.data()), 1);
    const std::pair<std::string, std::string> cases[] = {
        {"040904b0\\PRODUCTNAME", " My = App \0"s},
        {"00FfaAb0\\Empty", "\0"s},
        {"040904b0\\last", "\xFF\0"s},
        {"040904b0\\;A", ""},
        {"040904g0\\Last", ""},
        {"", ""},
    };
    for (const auto& [name, text] : cases) {
        void* found = nullptr;
        uint32_t length = 0;
        const std::string query = "\\StringFileInfo\\" + name;
        VerQueryValueA(block.data(), query.c_str(), &found, &length);
        EXPECT_EQ(std::string(static_cast<char*>(found), length), text) << name;
    }
}

}  // namespace
