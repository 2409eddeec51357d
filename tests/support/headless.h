// A headless 80x25 screen for tests of the terminal widgets: keys are pushed
// beforehand, a key read with none left throws (so a test never hangs), and
// window rows are read back as text.
#pragma once

#include "base/fatal.h"
#include "term/scr.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace nvtest {

struct Fatal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Headless : public ::testing::Test {
  protected:
    void SetUp() override {
        // The headless screen uses the suite's own entry "Xterm" (and its
        // variants) from the build.
        setenv("TERMINFO_DIRS", NV_TERMINFO_DIR ":", 0);
        SCRHEADLESS(25, 80);
        SCRINIT();
        nv::set_fatal_handler([](const char *t) { throw Fatal(t); });
    }
    void TearDown() override { SCREND(); }
};

// Pushes keys so that they are read in the order given.
inline void keys(std::initializer_list<int> k) {
    std::vector<int> v(k);
    for (auto it = v.rbegin(); it != v.rend(); ++it)
        KEYPUSH(*it);
}

// Text of a window row, in ncurses (0-based) coordinates.
inline std::string row_of(WINDOW *w, int y) {
    char buf[512] = {};
    mvwinnstr(w, y, 0, buf, getmaxx(w));
    return buf;
}

} // namespace nvtest
