// Redirects of a text for the shell, against a table. Drive C is /c here, a name from the
// current directory is below /here, and drive N is none.

#include "linux/redirects.h"

#include <gtest/gtest.h>

#include "linux/paths.h"
#include "tests/support/base.h"

bool vrplatform::HostPath(const char* name, char (&path)[kHostPathSize]) {
    std::string text = name;
    std::ranges::replace(text, '\\', '/');
    if (text.starts_with("N:")) return false;
    if (text.starts_with("C:") || text.starts_with("c:")) text = "/c" + text.substr(2);
    if (text[0] != '/') text = "/here/" + text;
    std::strcpy(path, text.c_str());
    return true;
}

namespace {

struct Row {
    const char* text;
    const char* made;
};

constexpr Row kRows[] = {
    // A name from a drive or the root reaches to the next redirect or the end of the command.
    {R"(echo hi > C:\tmp\x)", R"(echo hi > '/c/tmp/x')"},
    {R"(echo hi>>c:\x y.txt  )", R"(echo hi>>'/c/x y.txt'  )"},
    {R"(a <\in file 2>\err >>C:\o 2>&1)", R"(a <'/in file' 2>'/err' >>'/c/o' 2>&1)"},
    {R"(a >C:\x2>\y)", R"(a >'/c/x2'>'/y')"},
    {R"(a > \o 12>\p | b >\q & c >\r; d >\s && (e >\t) )",
     R"(a > '/o' 12>'/p' | b >'/q' & c >'/r'; d >'/s' && (e >'/t') )"},
    {"a > \\x \nb > \\y\t\n", "a > '/x' \nb > '/y'\t\n"},
    {R"(a > C:\it's > C:\a" > "b)", R"(a > '/c/it'\''s' > '/c/a > b')"},
    // Other names end at a blank.
    {R"(a >sub\x y >b\c>d)", R"(a >'/here/sub/x' y >'/here/b/c'>d)"},
    {R"(a > C: b)", R"(a > '/c b')"},
    {R"(a >"C:\x y" b >"sub\z"; c)", R"(a >'/c/x y' b >'/here/sub/z'; c)"},
    // What is left to the shell.
    {R"(a > x > "x y" > 'C:\x' > /tmp/x <> y)", R"(a > x > "x y" > 'C:\x' > /tmp/x <> y)"},
    {R"(a > C:\$X > sub\`x` > N:\x >"C:\$X")", R"(a > C:\$X > sub\`x` > N:\x >"C:\$X")"},
    {R"(a > "C:\x"y > x\'y' > my\ file > C:\sub\)", R"(a > "C:\x"y > x\'y' > my\ file > C:\sub\)"},
    {R"(a 2>&\1 <<\x <<-\x >|\x <&\x)", R"(a 2>&\1 <<\x <<-\x >|\x <&\x)"},
    {"a > \"C:\\x", "a > \"C:\\x"},
    {"a >", "a >"},
    {"a > \nb", "a > \nb"},
    // A redirect in quotes or a comment is text.
    {R"(echo ">\x" '>\x' \>\x "\">\x" '\'>\x)", R"(echo ">\x" '>\x' \>\x "\">\x" '\'>'/x')"},
    {"a # it's >\\x\nb#' >\\x' >\\x", "a # it's >\\x\nb#' >\\x' >'/x'"},
    {"'\n>\\x' \"", "'\n>\\x' \""},
    {"\\", "\\"},
};

TEST(Redirects, NamesOfThePlatformBecomeHostPaths) {
    for (const auto& [text, made] : kRows)
        EXPECT_EQ(vrplatform::WithHostRedirects(text), made) << text;
}

}  // namespace
