// A headless terminal for tests of the field engine: keys are queued in the
// order they are typed, and a field that runs out of keys ends in a thrown
// Fatal, so that a test can look at a field that is still open (the status
// line, the cursor, the scroll position) and can never hang.
#pragma once

#include "base/fatal.h"
#include "term/ingave.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace fieldtest {

struct Fatal {
    std::string text;
};

[[noreturn]] inline void thrower(const char *text) {
    throw Fatal{text};
}

class Screen : public ::testing::Test {
  protected:
    void SetUp() override {
        unsetenv("KPOS");
        SCRHEADLESS(25, 80);
        SCRINIT();
        nv::set_fatal_handler(thrower);
    }
    void TearDown() override { SCREND(); }

    // Keys in the order typed: text as its characters, ints as key codes.
    template <typename... A> void type(A... a) {
        std::vector<int> ks;
        (add(ks, a), ...);
        for (auto it = ks.rbegin(); it != ks.rend(); ++it)
            KEYPUSH(*it);
    }

    // Row r (1-based) of the current window, columns c .. c+n-1.
    std::string at(int r, int c, int n) {
        char buf[300] = "";
        mvwinnstr(WINCUR(), r - 1, c - 1, buf, n);
        return buf;
    }
    std::string status_line() { return term_state->term_message; }
    int status() { return term_state->ing_status; }
    int key() { return term_state->ing_key; }

    // Runs a call that must leave the field open; returns the fatal text.
    template <typename F> std::string open_field(F f) {
        try {
            f();
        } catch (const Fatal &e) {
            return e.text;
        }
        ADD_FAILURE() << "the field ended";
        return "";
    }

  private:
    static void add(std::vector<int> &ks, const char *s) {
        for (; *s; ++s)
            ks.push_back((unsigned char)*s);
    }
    static void add(std::vector<int> &ks, int k) { ks.push_back(k); }
};

constexpr int ENTER = '\n';
constexpr int ESC = 27;

} // namespace fieldtest
