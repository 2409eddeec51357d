// The demo shop builder: lays down a complete, consistent set of the suite's
// files in a directory. mkdemo, the end-to-end tests and the benchmarks all
// build their shops with it, so test data and demo data never drift apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace demo {

struct User {
    std::string name;       // clear text; stored scrambled
    char rechten = ' ';     // 'S' supervisor, 'I' look only, other normal
    std::string programma = "norpot";
    uint8_t status = 0;
    std::string tty;
};

struct Options {
    std::string size = "small"; // small | large
    std::string release = "8.70 ";
    uint8_t vlag1 = 1 | 2 | 4;  // customers, sales on customers, tills and journals
    uint8_t vlag2 = 0;
    uint8_t vlag3 = 0;
    int branches = 3;
    std::vector<User> users = {{"BEHEER", 'S', "norpot", 0, ""},
                               {"VERKOOP", 'N', "norpot", 0, ""},
                               {"KIJKER", 'I', "norpot", 0, ""}};
    uint8_t scramble_key = 0xC1; // fixed, so that the files are reproducible
};

// Builds the shop in `dir` (created when missing). Returns an empty text on
// success, else what went wrong.
std::string build(const std::string &dir, const Options &opt);

// Puts name into a NUL-padded field of size bytes, scrambled with key as the
// suite keeps names (at most size - 2 characters of the name are kept).
void scrambled(char *field, size_t size, const std::string &name, uint8_t key);

// Sets a user's program field in DIR/DTSYS.TXT, as the suite's menu does
// before it starts a program. Waits for the record's lock.
bool set_program(const std::string &dir, long user_nr, const char *program);

// The printer tables in `dir`: the screen (code 1), the spooler queue
// `queue` (2), the file afdruk.txt (3) and the drop directory uitvoer (4).
std::string build_printers(const std::string &dir, const std::string &queue = "norvanke");

// A private spooler daemon in `dir`: its configuration with the raw queue
// `queue`, a socket dir/cups.sock (point CUPS_SERVER at it), and every
// job's document kept in dir/spool. cups_command starts it in the
// foreground. Empty text on success, else what went wrong.
std::string cups_config(const std::string &dir, const std::string &queue = "norvanke");
std::string cups_command(const std::string &dir);

} // namespace demo
