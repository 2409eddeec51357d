// The print line buffer on a table of formats and values, page heads at each
// width, amounts with and without decimals, and the buffer's size checks.
// The jobs go to the screen (code 1) and are dropped in the preview, so the
// print file is read as the report left it.
#include "print/prt.h"
#include "support/headless.h"
#include "support/tmux.h"
#include "term/popup.h"

#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <unistd.h>

namespace {

class PrtBuf : public nvtest::Headless {
  protected:
    nvt::TempDir dir;
    char old_cwd[4096] = {};
    void SetUp() override {
        Headless::SetUp();
        ASSERT_TRUE(getcwd(old_cwd, sizeof old_cwd));
        ASSERT_EQ(chdir(dir.path().c_str()), 0);
    }
    void TearDown() override {
        EXPECT_EQ(chdir(old_cwd), 0);
        Headless::TearDown();
    }
    // The lines a report body writes on a print of the mask's width.
    std::vector<std::string> print(uint16_t mask, const std::function<void()> &body) {
        PRTDEST dest = {1, 0, 0};
        EXPECT_TRUE(XPRT_OPEN(&dest, mask, nullptr));
        body();
        std::fflush(prt_job.job_file);
        std::ifstream f(prt_job.job_temp, std::ios::binary);
        std::stringstream s;
        s << f.rdbuf();
        STOPOFF();               // the key below is for the preview, not an interruption
        nvtest::keys({key_esc}); // "Niet printen"
        PRT_CLOSE("");
        EXPECT_NE(access(prt_job.job_temp, F_OK), 0) << "print file left behind";
        std::vector<std::string> lines;
        std::string text = s.str().substr((size_t)prt_job.job_begin);
        for (size_t at = 0, nl; (nl = text.find('\n', at)) != std::string::npos; at = nl + 1)
            lines.push_back(text.substr(at, nl - at));
        return lines;
    }
};

using Lines = std::vector<std::string>;

TEST_F(PrtBuf, PiecesGoWhereTheyFitAndNumbersNeverTouch) {
    struct Case {
        const char *what;
        std::function<void()> body;
        Lines lines;
    } const cases[] = {
        {"a wide number moves left over blanks",
         [] { PRT_PRINT("%-10s", "Art"), PRT_PRINT("%8.2f", 1234567.89); },
         {"Art     1234567.89"}},
        {"behind text it goes to the second line, same column",
         [] { PRT_PRINT("%-10.10s", "Omschrijving"), PRT_PRINT("%8.2f", 1234567.89); },
         {"Omschrijvi        ", "        1234567.89"}},
        {"two full numbers in a row zigzag",
         [] { PRT_PRINT("%5d%5d%5d", 12345, 67890, 34567); },
         {"12345     34567", "     67890     "}},
        {"a literal between them keeps one line",
         [] { PRT_PRINT("%5d %5d", 12345, 67890); },
         {"12345 67890"}},
        {"text in one call does not zigzag, it starts behind",
         [] { PRT_PRINT("%-4s%6.2f", "Prijs", 123456.0); },
         {"Prijs123456.00"}},
        {"a number without width takes its room",
         [] { PRT_PRINT("Totaal: "), PRT_PRINT("%ld", 123456L); },
         {"Totaal: 123456"}},
        {"star width, percent, h, L and c",
         [] { PRT_PRINT("%*d%% %hd %.1Lf %c", 4, 7, (short)-3, 2.25L, 'x'); },
         {"   7% -3 2.2 x"}},
        {"a line end inside the text ends the line",
         [] { PRT_PRINT("een\ntwee"); },
         {"een", "twee"}},
        {"text beyond the print width is cut", [] { PRT_REPEAT(45, '='); }, {std::string(40, '=')}},
        {"amounts go through the buffer",
         [] { PRT_PRINT("%-6s", "Som"), PRT_AMOUNT(-45, 7), PRT_AMOUNT(123456, 7); },
         {"Som     -0.45       ", "             1234.56"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Lines got = print(PRT_W40, [&] {
            c.body();
            PRT_LINE();
        });
        EXPECT_EQ(got, c.lines);
    }
}

TEST_F(PrtBuf, PageHeadsAtEachWidthAndMargins) {
    // The right part of a head: date, time and page number.
    const std::string right = R"( \d\d-\d\d-\d{4} \d\d:\d\d blad:   [12])";
    Lines l = print(PRT_W80, [] { PRT_HEAD("Filiaal 1", "%s", "Overzicht"); });
    ASSERT_EQ(l.size(), 2u);
    EXPECT_TRUE(std::regex_match(l[0], std::regex("Filiaal 1 {17}Overzicht {17}" + right))) << l[0];
    EXPECT_EQ(l[1], "");
    l = print(PRT_W132, [] { PRT_HEAD("Filiaal 1", "%s", "Overzicht"); });
    EXPECT_TRUE(std::regex_match(l[0], std::regex("Filiaal 1 {43}Overzicht {43}" + right)));
    // Too long for 40 columns: the left text padded up to the right part,
    // and the title centred under it.
    l = print(PRT_W40, [] { PRT_HEAD("Filiaal 1", "%s", "Overzicht"); });
    ASSERT_EQ(l.size(), 3u);
    EXPECT_TRUE(std::regex_match(l[0], std::regex("Filiaal 1    " + right))) << l[0];
    EXPECT_EQ(l[1], std::string(15, ' ') + "Overzicht");
    // Margins: a top line and two positions before every line; the second
    // page begins with a form feed.
    l = print(PRT_W40, [] {
        PRT_MARGINS(1, 2);
        PRT_NEWPAGE();
        PRT_PRINT("a"), PRT_LINE();
        PRT_NEWPAGE();
        PRT_PRINT("b"), PRT_LINE();
        PRT_MARGINS(-1, -1);
        EXPECT_EQ(prt_page, 2);
    });
    EXPECT_EQ(l, (Lines{"", "  a", "  \f", "  b"}));
}

TEST_F(PrtBuf, AmountTextsAndArithmetic) {
    char b[40];
    struct {
        int decimals;
        int32_t value;
        int width;
        const char *text;
    } const texts[] = {{2, -45, 8, "   -0.45"}, {2, -1, 6, " -0.01"}, {2, -12345, 8, " -123.45"},
                       {2, 0, 6, "  0.00"},     {2, 7, 5, " 0.07"},   {0, -45, 5, "  -45"},
                       {0, 123456, 4, "123456"}};
    for (const auto &t : texts) {
        term_state->term_decimals = t.decimals;
        EXPECT_STREQ(AMOUNTTEXT(t.value, t.width, b), t.text) << t.value;
    }
    term_state->term_decimals = 2;
    EXPECT_EQ(AMOUNTWHOLE(150), 2);
    EXPECT_EQ(AMOUNTWHOLE(-150), -2);
    EXPECT_EQ(AMOUNTWHOLE(149), 1);
    EXPECT_EQ(AMOUNTOFDOUBLE(12350.0), 124);
    EXPECT_EQ(ADDPERMILLE(1000, 190), 1190);
    EXPECT_EQ(ADDPERMILLE(-1003, 190), -1194);
    EXPECT_EQ(LESSPERMILLE(1190, 190), 1000);
    EXPECT_EQ(LESSPERMILLE(3000000, 190), 2521008);
    EXPECT_EQ(LESSPERMILLE(-1190, 190), -1000);
    term_state->term_decimals = 0;
    EXPECT_EQ(AMOUNTWHOLE(150), 150);
    EXPECT_EQ(print(PRT_W40, [] { PRT_AMOUNT(-45, 5), PRT_LINE(); }), Lines{"  -45"});
}

TEST_F(PrtBuf, SizesFromTheEnvironmentAreChecked) {
    struct {
        const char *maxfmt, *sysbuf, *maxsysbuf;
        int repeat;
        const char *fatal;
    } const cases[] = {
        {nullptr, nullptr, "200", 0, "MAXSYSBUF < DEFAULT SYSBUF -> MAXSYSBUF > 300"},
        {nullptr, "500", "400", 0, "MAXSYSBUF < SYSBUF --> MAXSYSBUF > SYSBUF"},
        {nullptr, "40000", nullptr, 0, "SYSBUF IS > 32000"},
        {nullptr, nullptr, "40000", 0, "MAXSYSBUF IS > 32000"},
        {"abc", nullptr, nullptr, 0, "Unknown Text in MMEINI"},
        {nullptr, "0", nullptr, 0, "Unknown Text in SYSBUF"},
        {nullptr, nullptr, "350", 400, "MAXSYSBUF too small. 401 > MAXSYSBUF(350)"},
        {nullptr, nullptr, nullptr, 32001, "PrintBuffer > 32000 Bytes, printline too long"},
        {"20", nullptr, nullptr, 30, nullptr},   // a row goes in pieces that fit
        {nullptr, "10", nullptr, 5000, nullptr}, // grows as needed
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.fatal ? c.fatal : "grows");
        for (auto [name, v] :
             {std::pair{"MAXFMT", c.maxfmt}, {"SYSBUF", c.sysbuf}, {"MAXSYSBUF", c.maxsysbuf}})
            v ? setenv(name, v, 1) : unsetenv(name);
        std::string fatal;
        try {
            print(PRT_W80, [&] { PRT_REPEAT(c.repeat, 'x'), PRT_LINE(); });
        } catch (const nvtest::Fatal &e) {
            fatal = e.what();
            PRT_CLOSE("");
        }
        EXPECT_EQ(fatal, c.fatal ? c.fatal : "");
    }
    for (const char *name : {"MAXFMT", "SYSBUF", "MAXSYSBUF"})
        unsetenv(name);
    EXPECT_THROW(PRT_PRINT("%d", 1), nvtest::Fatal); // no job open
}

} // namespace
