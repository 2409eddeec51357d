// File utilities: the two wildcard dialects against each other, listings,
// temporary names, copy and move.
#include "base/fileutil.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

class FileUtil : public ::testing::Test {
  protected:
    nvt::TempDir tmp;
    const std::string &dir = tmp.path();
    std::string path(const std::string &name) { return tmp.file(name); }
    void put(const std::string &name, const std::string &text) {
        FILE *f = std::fopen(path(name).c_str(), "wb");
        ASSERT_TRUE(f);
        std::fputs(text.c_str(), f);
        std::fclose(f);
    }
    std::string get(const std::string &name) {
        FILE *f = std::fopen(path(name).c_str(), "rb");
        if (!f) return "<none>";
        std::string s;
        for (int c; (c = std::fgetc(f)) != EOF;)
            s += (char)c;
        std::fclose(f);
        return s;
    }
};

// Where both dialects are defined they must agree; case is left out, since
// only the matcher ignores it.
TEST(Wildcards, ScanFormatAndMatcherAgree) {
    struct Case {
        const char *pattern, *name;
        bool match;
    } cases[] = {
        {"*.TXT", "DTKLT.TXT", true},
        {"*.TXT", "DTKLT.INX", false},
        {"*.TXT", "TXT", false},
        {"DT*.INX", "DTART.INX", true},
        {"DT*.INX", "XDTART.INX", false},
        {"VRK????.JRN", "VRK0102.JRN", true},
        {"VRK????.JRN", "VRK012.JRN", false},
        {"VRK????.JRN", "VRK01023.JRN", false},
        {"BON*", "BON0142", true},
        {"BON*", "BO", false},
        {"*", "anything.at.all", true},
        {"DIR/sub/*.JRN", "VR00101.JRN", true},
        {"C:*.BAD", "X.BAD", true},
        {"A?C", "ABC", true},
        {"A?C", "ABD", false},
        {"*.*", "DTKLT.TXT", true},
        {"PRT.*", "PRT.001", true},
        {"PRT.*", "XPRT.001", false},
        {"DTKLT.TXT", "DTKLT.TXT", true},
        {"DTKLT.TXT", "DTKLT.TXT.BAK", false},
    };
    for (const Case &c : cases) {
        std::string f = nv::wild_scan_format(c.pattern);
        EXPECT_EQ(nv::wild_scan_match(f, c.name), c.match)
            << c.pattern << " " << c.name << " " << f;
        const char *slash = std::strrchr(c.pattern, '/');
        const char *p = slash ? slash + 1 : c.pattern[1] == ':' ? c.pattern + 2 : c.pattern;
        EXPECT_EQ(nv::wild_match(p, c.name), c.match) << c.pattern << " " << c.name;
    }
    EXPECT_EQ(nv::wild_scan_format("*.TXT"), "%*[^.].TXT %c");
    EXPECT_TRUE(nv::wild_match("*.txt", "DTKLT.TXT")); // the matcher ignores case
    EXPECT_TRUE(nv::wild_match("\x82t?", "\x90TE"));   // also of accented letters
}

TEST_F(FileUtil, ListingsCountsAndTheirLimits) {
    for (const char *n : {"B.TXT", "A.TXT", "C.INX", "a.txt"})
        put(n, "x");
    ASSERT_EQ(::mkdir(path("SUB.TXT").c_str(), 0755), 0);
    char buf[PATH_MAX];
    std::string pat = path("*.TXT");
    std::snprintf(buf, sizeof buf, "%s", pat.c_str());
    ASSERT_EQ(DIRECTORY('O', buf, 0), 1);
    std::vector<std::string> got;
    while (DIRECTORY('N', buf, 0))
        got.push_back(buf);
    EXPECT_EQ(got, (std::vector<std::string>{path("A.TXT"), path("B.TXT")}));
    EXPECT_EQ(DIRECTORY('C', buf, 0), 1);
    std::snprintf(buf, sizeof buf, "%s", pat.c_str());
    ASSERT_EQ(DIRECTORY('O', buf, 2), 1); // directories only
    ASSERT_EQ(DIRECTORY('N', buf, 2), 1);
    EXPECT_EQ(std::string(buf), path("SUB.TXT"));
    DIRECTORY('C', buf, 2);
    std::snprintf(buf, sizeof buf, "%s", path("*.JRN").c_str());
    EXPECT_EQ(DIRECTORY('O', buf, 0), 0);
    EXPECT_EQ(DIRECTORY('C', buf, 0), 0) << "no level is left behind";

    EXPECT_EQ(FILES_PRESENT(pat.c_str()), 3) << "the matcher ignores case, counts files only";
    EXPECT_EQ(FILES_PRESENT(path("%*[^.].INX %c").c_str()), 1);
    EXPECT_EXIT(
        {
            char b[PATH_MAX];
            for (int i = 0; i < 11; ++i) {
                std::snprintf(b, sizeof b, "%s", pat.c_str());
                DIRECTORY('O', b, 0);
            }
            std::exit(0);
        },
        ::testing::ExitedWithCode(1), "DIRECTORY : ALLOC");
}

TEST_F(FileUtil, TemporaryNamesWalkTheirLetters) {
    char expect[16];
    int n = (int)(::getpid() % 100);
    std::snprintf(expect, sizeof expect, "PRNTAA%02d", n);
    EXPECT_EQ(std::string(temp_name(dir.c_str(), "PRNTX")), path(expect));
    std::snprintf(expect, sizeof expect, "PRNTAB%02d", n);
    put(expect, "taken");
    std::snprintf(expect, sizeof expect, "PRNTAC%02d", n);
    EXPECT_EQ(std::string(temp_name(dir.c_str(), "PRNT")), path(expect)) << "AB, then AC is taken";
    EXPECT_FALSE(file_exists(path(expect).c_str())) << "the caller makes the file";
    EXPECT_STREQ(temp_name("/nonexistent/dir", "X"), "");
}

TEST_F(FileUtil, CopyModesMoveAndRemove) {
    put("SRC", "abc");
    put("DST", "old");
    EXPECT_FALSE(file_copy(path("SRC").c_str(), path("DST").c_str(), -1));
    EXPECT_EQ(get("DST"), "old");
    EXPECT_TRUE(file_copy(path("SRC").c_str(), path("DST").c_str(), 1));
    EXPECT_EQ(get("DST"), "oldabc");
    EXPECT_TRUE(file_copy(path("SRC").c_str(), path("DST").c_str(), 0));
    EXPECT_EQ(get("DST"), "abc");
    EXPECT_TRUE(file_copy(path("SRC").c_str(), path("NEW").c_str(), -1));
    EXPECT_EQ(file_size(path("NEW").c_str()), 3);
    EXPECT_FALSE(file_copy(path("ABSENT").c_str(), path("X").c_str(), 0));
    EXPECT_FALSE(file_exists(path("X").c_str()));

    EXPECT_FALSE(file_move(path("SRC").c_str(), path("DST").c_str(), false));
    EXPECT_TRUE(file_move(path("SRC").c_str(), path("DST2").c_str(), false));
    EXPECT_EQ(file_size(path("SRC").c_str()), -1);
    EXPECT_TRUE(file_remove(path("SRC").c_str())) << "absent counts as removed";

    // Across file systems a link can't be made: the move copies.
    struct stat a, b;
    std::string far = "/dev/shm/nvmove" + std::to_string(::getpid());
    if (::stat("/dev/shm", &a) == 0 && ::stat(dir.c_str(), &b) == 0 && a.st_dev != b.st_dev &&
        file_copy(path("DST2").c_str(), far.c_str(), 0)) {
        EXPECT_TRUE(file_move(far.c_str(), path("FAR").c_str(), true));
        EXPECT_EQ(get("FAR"), "abc");
        EXPECT_FALSE(file_exists(far.c_str()));
    }
}

} // namespace
