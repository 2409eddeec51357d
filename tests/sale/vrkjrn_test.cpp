// The walk over the journals of the journal functions: which files it
// hands out, in which order, and which it passes over.
#include "sale/iojrn.h"
#include "sale/jrnnaam.h"
#include "sale/vrkjrn.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <unistd.h>

namespace {

std::string whole(const std::string &letters) {
    std::string s;
    for (char c : letters) {
        s += c;
        s.append((size_t)jrn_payload_len(c), '\0');
    }
    return s;
}

struct Walk {
    int branch, till;
    const char *want;
};

TEST(JournalWalk, SelectsByBranchAndTillInKeyOrderAndSkipsUnusableJournals) {
    nvt::TempDir dir;
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    std::string tx = whole("HVTX");
    for (const char *n :
         {"VRK0201.JRN", "VRK0000.JRN", "VR10000.JRN", "VRK0001.JRN", "VRK0200.JRN"})
        std::ofstream(n, std::ios::binary) << tx;
    std::ofstream("VRK0101.JRN", std::ios::binary) << "";              // empty
    std::ofstream("VRK0100.JRN", std::ios::binary) << tx + whole("H"); // incomplete
    std::ofstream("VRK0300.BAD", std::ios::binary) << tx;              // no journal

    for (Walk w :
         {Walk{JRN_ALLE, JRN_ALLE, "0000 0001 0200 0201 10000 "}, Walk{2, 100, "0200 0201 "},
          Walk{JRN_ALLE, 1, "0001 0201 "}, Walk{3, JRN_ALLE, ""}, Walk{100, 0, "10000 "}}) {
        std::string got;
        while (jrn_cursor *c = jrn_select_next(w.branch, w.till, false)) {
            char name[16];
            jrn_naam(name, c->filnr, c->kasnr);
            got += std::string(name).substr(name[2] == 'K' ? 3 : 2, name[2] == 'K' ? 4 : 5) + " ";
            EXPECT_EQ(c->oflags & O_ACCMODE, O_RDWR);
            iojrn_close(c);
        }
        EXPECT_EQ(got, w.want) << w.branch << "/" << w.till;
        EXPECT_FALSE(std::ifstream("DTSELJRN.TXT").good()) << "the work file goes at the end";
    }
    EXPECT_EQ(chdir(cwd), 0);
}

} // namespace
