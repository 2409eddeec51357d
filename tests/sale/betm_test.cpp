// The payment means tables: a file with an empty name, a stop behind the
// mapping and a cut, the names by both numberings, the slots (with the
// wrap of the byte), the extra block, and choosing from the list.
#include "base/scramble.h"
#include "sale/kas_betm.h"
#include "sale/kas_betmscr.h"
#include "support/headless.h"
#include "support/tmux.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

std::string record(char letter, const char *naam, bool in_gebruik = true) {
    std::string r(29, '\0');
    r[0] = letter;
    if (letter == 'M') {
        r[1] = naam[0], r[2] = naam[1];
        return r;
    }
    char buf[24] = {};
    std::snprintf(buf, sizeof buf, "%s", naam);
    nv::scramble_with_key(buf, 0xC3);
    std::memcpy(&r[1], buf, std::strlen(buf));
    r[23] = in_gebruik;
    return r;
}

class Betm : public nvtest::Headless {
  protected:
    nvt::TempDir dir;
    char cwd[4096] = {};
    void SetUp() override {
        Headless::SetUp();
        ASSERT_TRUE(getcwd(cwd, sizeof cwd));
        ASSERT_EQ(chdir(dir.path().c_str()), 0);
        std::ofstream("DTBETMX.TXT") << std::string(100, 'x');
    }
    void TearDown() override {
        betm_vrij();
        EXPECT_EQ(chdir(cwd), 0);
        Headless::TearDown();
    }
    void file(const std::string &bytes) { std::ofstream("DTBETM.TXT", std::ios::binary) << bytes; }
};

TEST_F(Betm, LoadSkipsEmptyNamesAndStopsWhereTheTablesEnd) {
    std::string f = record('Q', "Cheque") + record('Q', "") + record('Q', "Eurocheque", false) +
                    record('A', "Visa") + record('M', "A\0") + record('M', "Q\1") +
                    record('Q', "Na de mapping");
    f += std::string(4640 - f.size(), '\0') + std::string(60, '\7');
    file(f);
    betm_laad();
    EXPECT_EQ(betm_aantal(1), 2);
    EXPECT_EQ(betm_aantal(2), 1);
    EXPECT_EQ(betm_map_aantal(), 2);
    struct {
        const char *got, *want;
    } names[] = {
        {betm_naam('Q', 1), "Eurocheque"},
        {betm_naam('M', 0), "Visa"},
        {betm_naam('M', 1), "Eurocheque"},
        {betm_naam('M', 7), "contant"},
        {betm_naam('F', 0), "Facturering"},
        {betm_naam('Q', 2), ""},
        {betm_naam_nr(1, 2), "Eurocheque"},
        {betm_naam_nr(9, 1), "Tegoedbon ontvangen"},
        {betm_naam_nr(9, 2), "Tegoedbon uitgedeeld"},
        {betm_naam_nr(7, 1), "Op rekening"},
        {betm_soort_naam(3), "Pin"},
        {betm_xtekst(4), "xxxxxxxxxxxxxxxxxxxx"},
    };
    for (auto &n : names)
        EXPECT_STREQ(n.got, n.want);
    unsigned char extra[60];
    EXPECT_TRUE(betm_extra(1, extra));
    EXPECT_EQ(extra[59], 7);
    EXPECT_FALSE(betm_extra(2, extra));
    EXPECT_EQ(extra[0], 0);

    file(f.substr(0, 29 * 3 + 10)); // cut inside the fourth record
    betm_laad();
    EXPECT_EQ(betm_aantal(1), 2);
    EXPECT_EQ(betm_aantal(2), 0);
    unlink("DTBETMX.TXT");
    EXPECT_THROW(betm_laad(), nvtest::Fatal);
}

TEST(BetmSlot, BothNumberingsWrapInAByte) {
    struct {
        int got, want;
    } slots[] = {
        {betm_slot('Q', 0), 1},    {betm_slot('A', 0), 31},    {betm_slot('O', 29), 150},
        {betm_slot('V', 0), 151},  {betm_slot('V', 9), 160},   {betm_slot('R', 0), 161},
        {betm_slot('F', 0), 162},  {betm_slot('T', 0), 163},   {betm_slot('M', 0), 0},
        {betm_slot_nr(0, 1), 0},   {betm_slot_nr(1, 1), 1},    {betm_slot_nr(5, 30), 150},
        {betm_slot_nr(6, 1), 151}, {betm_slot_nr(7, 3), 161},  {betm_slot_nr(8, 1), 162},
        {betm_slot_nr(9, 1), 163}, {betm_slot_nr(9, 2), 164},  {betm_slot_nr(1, 0), 0},
        {betm_slot_nr(10, 1), 0},  {betm_slot_nr(5, 200), 64},
    };
    for (auto &s : slots)
        EXPECT_EQ(s.got, s.want);
    EXPECT_EQ(betm_letter_vast(betm_letter_lokaal('W')), 'W');
}

TEST_F(Betm, TheListMarksEachChoiceUntilItIsLeft) {
    file(record('Q', "Cheque") + record('Q', "Eurocheque", false) + record('A', "Visa") +
         record('A', "Mastercard"));
    betm_laad();
    unsigned char marks[BETM_SLOTS] = {};
    // By the search field to Mastercard; the next dialog starts there: one
    // down is cash. ESC leaves.
    nvtest::keys({'A', '2', '\n', key_f3, key_down, key_f3, key_esc});
    EXPECT_TRUE(betm_kies(' ', marks));
    int set = 0;
    for (unsigned char m : marks)
        set += m;
    EXPECT_EQ(set, 2);
    EXPECT_EQ(marks[32], 1) << "A 2";
    EXPECT_EQ(marks[0], 1) << "cash";
    nvtest::keys({key_esc});
    EXPECT_FALSE(betm_kies('P', marks)) << "no debit cards: nothing to choose";
}

} // namespace
