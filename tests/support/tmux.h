// A tmux driver for end-to-end tests: runs a real binary in a detached tmux
// session on a private socket, types keys, and reads the screen as a user
// sees it.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace nvt {

using Env = std::vector<std::pair<std::string, std::string>>;

class Tmux {
  public:
    explicit Tmux(int cols = 80, int rows = 25);
    ~Tmux();
    Tmux(const Tmux &) = delete;
    Tmux &operator=(const Tmux &) = delete;

    // Starts `command` (a shell command line) in `cwd` with TERM=tmux, the
    // suite's terminal entries on TERMINFO_DIRS, and the extra environment.
    void start(const std::string &command, const std::string &cwd, const Env &env = {});

    void type(const std::string &literal);                  // send-keys -l
    void keys(std::initializer_list<std::string> names);    // tmux key names
    void raw(const std::string &bytes);                     // bytes as typed

    // The suite's own keys (see terminfo/norvanke.ti).
    void cancel() { raw("\x1b[40~"); }
    void help() { raw("\x1b[28~"); }
    void exitkey() { raw("\x1b[41~"); }

    void resize(int cols, int rows);      // the window changes size
    void record(const std::string &file); // from now on, the bytes the program writes

    std::string screen();      // the whole pane, rows joined by '\n'
    std::string row(int n);    // 1-based row, as shown
    bool wait_for(const std::string &text, int ms = 5000);
    bool wait_gone(const std::string &text, int ms = 5000);
    bool wait_exit(int ms = 5000); // the command has ended
    int exit_status();             // valid after wait_exit
    const std::string &socket() const { return sock_; }

  private:
    std::string tmux(const std::string &args);
    std::string sock_, dir_;
    int cols_, rows_;
    bool started_ = false;
};

// Runs a shell command and returns its standard output; status in *status.
std::string run(const std::string &cmd, int *status = nullptr);

// A fresh temporary directory, removed by the destructor.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    const std::string &path() const { return path_; }
    std::string file(const std::string &name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

} // namespace nvt
