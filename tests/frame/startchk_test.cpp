// The start checks: short and damaged parameter files are named with what is
// wrong with them; sound ones pass.
#include "frame/startchk.h"
#include "frame/sysrec.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

TEST(StartChecks, ShortAndDamagedFiles) {
    std::string sys(sysmap::FILE_SIZE, '\0');
    sys.replace(0, 8, "Modehuis");
    sys[39] = 2; // branches
    sys.replace(9 * 64 + 58, 5, "8.70 ");
    struct Case {
        long at; // byte to change, -1: cut the file to `len`
        char to;
        size_t len;
        const char *message;
    } cases[] = {
        {-1, 0, sys.size(), ""},
        {-1, 0, 0, "DTSYS.TXT is te kort: 0 bytes, nodig 122952"},
        {9 * 64 + 58, ' ', 0, "DTSYS.TXT is beschadigd: geen leesbare release"},
        {9 * 64 + 60, '\x01', 0, "DTSYS.TXT is beschadigd: geen leesbare release"},
        {3, '\x1b', 0, "DTSYS.TXT is beschadigd: bedrijfsnaam onleesbaar"},
        {39, 0, 0, "DTSYS.TXT is beschadigd: geen filialen"},
    };
    for (const Case &c : cases) {
        std::string b = sys;
        if (c.at < 0)
            b.resize(c.len);
        else
            b[(size_t)c.at] = c.to;
        EXPECT_EQ(frame::sysfile_problem(b, "DTSYS.TXT"), c.message) << c.at;
    }
    EXPECT_EQ(frame::branchfile_problem(3 * 612, 2, "DTFILGEG.TXT"), "");
    EXPECT_EQ(frame::branchfile_problem(1224, 2, "DTFILGEG.TXT"),
              "DTFILGEG.TXT is te kort: 1224 bytes, nodig 1836");

    kas_parm k{};
    std::memcpy(k.valuta[0], "EUR", 3);
    std::memset(k.extra_letters, 'K', 16); // letters up to the end of the field
    std::string kas(reinterpret_cast<const char *>(&k), sizeof k);
    EXPECT_EQ(frame::kasparm_problem(kas, "KASPARM.TXT"), "");
    EXPECT_EQ(frame::kasparm_problem(kas.substr(0, 2000), "KASPARM.TXT"),
              "KASPARM.TXT is te kort: 2000 bytes, nodig 2336");
    kas[180 + 4 * 3] = '\x07';
    EXPECT_EQ(frame::kasparm_problem(kas, "KASPARM.TXT"),
              "KASPARM.TXT is beschadigd: valutacodes onleesbaar");
}

} // namespace
