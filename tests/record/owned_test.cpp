// The C++ face: each thing is given back exactly once, and edits and ranges agree with the
// interface below.

#include "vr/owned.hpp"

#include "tests/support/library_test.h"

namespace {

static_assert(std::ranges::forward_range<vr::Elements> && std::ranges::view<vr::Elements>);
static_assert(std::ranges::borrowed_range<vr::Elements>);

struct Owned : FilesTest {
    Owned() {
        StartWithFiles();
    }
    static std::string Text(std::string_view bytes) {
        return Swapped(std::string(bytes), kMarks, kNotation);
    }
    static std::string Joined(vr::Elements elements) {
        std::string joined;
        for (const std::string_view element : elements)
            joined += std::string(element) + ';';
        return joined;
    }
};

TEST_F(Owned, StringsMoveCopyAndGoOnce) {
    const std::string bytes("zero\0inside", 11);
    vr::String a{std::string_view(bytes)};
    vr::String copy = a;
    EXPECT_NE(copy.get(), a.get());
    EXPECT_EQ(copy, a);
    const VrString text = a.get();
    vr::String b = std::move(a);
    EXPECT_EQ(b.get(), text);
    EXPECT_EQ(a.get(), NullString());
    a = std::move(b);
    EXPECT_EQ(a, bytes);
    a = vr::String("next");
    EXPECT_EQ(a, "next");
    EXPECT_STREQ(a.c_str(), "next");
    VrString released = a.release();
    EXPECT_EQ(BytesOf(released), "next");
    free_mem(&released);
    EXPECT_TRUE(a.empty());
    EXPECT_EQ(vr::String().release(), NullString());
    vr::String taken(StringOfBytes("taken"));
    UtilGetRestOfVrStr(copy.get(), kVrFirstCursor, taken.out());
    EXPECT_EQ(taken, bytes);
}

TEST_F(Owned, EditsAsTheCallsBelow) {
    vr::String record;
    EXPECT_EQ(record.append("a"), kVrFirstCursor);
    EXPECT_EQ(record.replace({2, 2}, "b"), 7);
    record.insert({1}, "first");
    record.insert({vr::kEnd}, "last");
    record.replace({3, 2, vr::kEnd}, "sub");
    EXPECT_EQ(Text(record), "first^a^]b\\sub^last");
    EXPECT_EQ(record.extract({3, 2, 2}), "sub");
    EXPECT_EQ(record.extract({9}), "");
    for (const size_t length : {199u, 200u, 201u}) {
        const std::string text(length, 'x');
        record.replace({1}, text);
        EXPECT_EQ(record.extract({1}), text);
    }
    record.append(record);  // its own text
    EXPECT_EQ(std::ranges::distance(vr::Attributes(record)), 8);
    record.replace({}, "whole");
    EXPECT_EQ(record, "whole");
}

TEST_F(Owned, RangesAreTheElementsBetweenMarks) {
    EXPECT_EQ(Joined(vr::Attributes("")), "");
    EXPECT_EQ(Joined(vr::Attributes(std::string_view())), "");
    EXPECT_EQ(Joined(vr::Attributes(Marked("a"))), "a;");
    const std::string marks = Marked("^a]b\\c^");
    EXPECT_EQ(Joined(vr::Attributes(marks)), Marked(";a]b\\c;;"));
    EXPECT_EQ(Joined(vr::Values(marks)), Marked("^a;b\\c^;"));
    EXPECT_EQ(Joined(vr::Subvalues(marks)), Marked("^a]b;c^;"));
    const vr::Elements elements = vr::Attributes(marks);
    EXPECT_EQ(std::ranges::count(elements, ""), 2);
    EXPECT_EQ(std::next(elements.begin(), 1), std::ranges::find(elements, Marked("a]b\\c")));
}

TEST_F(Owned, KeysAndFilesGiveThemselvesBack) {
    {
        const vr::Key key("REC");
        EXPECT_TRUE(key);
        EXPECT_EQ(VrRecordReplace("REC", vr::String("text").get(), key.get()), kVrRecordDone);
        const vr::Key none("none\\REC", kVrRecordTryOnce);
        EXPECT_EQ(none.result(), kVrRecordNotLockable);
        EXPECT_EQ(none.get(), nullptr);
        vr::File file("REC", kOpenBinary);
        const vr::File moved = std::move(file);
        EXPECT_FALSE(file);
        EXPECT_EQ(OsFileLength(moved.get()), 4);
        EXPECT_FALSE(vr::File("none", kOpenBinary));
    }
    EXPECT_EQ(vr::File("REC", kOpenBinary).get(), 3);
    VrLockHandle file = 0;
    EXPECT_EQ(LockRegister("REC", &file), 0);
    EXPECT_EQ(LockUnlockKey(file, vr::String("REC").get()), kVrLockNotHeld);
    EXPECT_EQ(LockDeregister(file), 0);
}

}  // namespace
