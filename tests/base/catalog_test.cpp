// Catalogue texts are used as printf formats only when they read the same
// arguments as the built-in text (the program's own start shows a real
// catalogue at work, tests/e2e/terminal_test.cpp).
#include "base/catalog.h"

#include <gtest/gtest.h>

namespace {

TEST(Catalog, ConversionsMustReadTheSameArguments) {
    struct Case {
        const char *builtin, *text;
        bool same;
    } cases[] = {
        {"Foutieve release: bestanden van %-.5s", "Release van de bestanden: %s", true},
        {"Foutieve release: bestanden van %-.5s", "Release %s van %s", false},
        {"%s: %s (file=%s, errno=%d)", "%s: %s (errno=%d, file=%s)", false},
        {"%s: %s (file=%s, errno=%d)", "%1$s: %2$s (errno=%4$d, bestand=%3$s)", true},
        {"%s %d", "%2$d", false},    // position 1 read by nothing
        {"%s %d", "%2$d %s", false}, // positions and sequence mixed
        {"%s: errno=%d", "%s: errno=%ld", false},
        {"<%c> %s", "<%d> %s", false},
        {"%-*.*s", "%-*s", false},
        {"%5.2f%% korting", "korting %f%%", true},
        {"%s", "%s %n", false},
        {"%s", "%", false},
        {"Korting 100%", "Korting %s", true}, // the built-in text is no format
    };
    for (const Case &c : cases)
        EXPECT_EQ(nv::same_conversions(c.builtin, c.text), c.same) << c.builtin << " | " << c.text;
}

} // namespace
