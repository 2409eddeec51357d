// The tmux driver: see tmux.h.
#include "support/tmux.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace nvt {
namespace {
std::string quote(const std::string &s) {
    std::string q = "'";
    for (char c : s) {
        if (c == '\'')
            q += "'\\''";
        else
            q += c;
    }
    return q + "'";
}
void pause_ms(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }
} // namespace

std::string run(const std::string &cmd, int *status) {
    std::string out;
    FILE *p = ::popen(cmd.c_str(), "r");
    if (!p) {
        if (status) *status = -1;
        return out;
    }
    char buf[4096];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    int st = ::pclose(p);
    if (status) *status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return out;
}

TempDir::TempDir() {
    char tmpl[] = "/tmp/nvtest.XXXXXX";
    char *d = ::mkdtemp(tmpl);
    path_ = d ? d : "/tmp";
}

TempDir::~TempDir() {
    if (path_.rfind("/tmp/nvtest.", 0) == 0) run("rm -rf " + quote(path_));
}

Tmux::Tmux(int cols, int rows) : cols_(cols), rows_(rows) {
    char tmpl[] = "/tmp/nvtmux.XXXXXX";
    char *d = ::mkdtemp(tmpl);
    dir_ = d ? d : "/tmp";
    sock_ = dir_ + "/sock";
}

Tmux::~Tmux() {
    if (started_) tmux("kill-server 2>/dev/null");
    run("rm -rf " + quote(dir_));
}

std::string Tmux::tmux(const std::string &args) {
    return run("tmux -S " + quote(sock_) + " " + args);
}

void Tmux::start(const std::string &command, const std::string &cwd, const Env &env) {
    // The command runs under sh; its exit status is kept in a file so that the
    // test can read it after the pane has closed.
    std::string script = dir_ + "/run.sh";
    std::ofstream f(script);
    f << "cd " << quote(cwd) << " || exit 99\n";
    f << "export TERM=tmux\n";
    f << "export TERMINFO_DIRS=" << quote(std::string(NV_TERMINFO_DIR) + ":") << "\n";
    f << "export ESCDELAY=25\n";
    for (auto &[k, v] : env) f << "export " << k << "=" << quote(v) << "\n";
    f << command << "\n";
    f << "echo $? > " << quote(dir_ + "/status") << "\n";
    f << "sleep 30\n"; // keep the last screen for reading
    f.close();
    std::remove((dir_ + "/status").c_str());
    tmux("-f /dev/null new-session -d -x " + std::to_string(cols_) + " -y " + std::to_string(rows_) +
         " " + quote("sh " + script));
    tmux("set-option -g status off");
    tmux("resize-window -x " + std::to_string(cols_) + " -y " + std::to_string(rows_) + " 2>/dev/null");
    started_ = true;
}

void Tmux::type(const std::string &literal) { tmux("send-keys -l -- " + quote(literal)); }

void Tmux::keys(std::initializer_list<std::string> names) {
    std::string a;
    for (auto &n : names) a += " " + quote(n);
    tmux("send-keys" + a);
}

void Tmux::raw(const std::string &bytes) {
    std::string hex;
    char b[8];
    for (unsigned char c : bytes) {
        std::snprintf(b, sizeof b, " %02x", c);
        hex += b;
    }
    tmux("send-keys -H" + hex);
}

void Tmux::resize(int cols, int rows) {
    tmux("resize-window -x " + std::to_string(cols) + " -y " + std::to_string(rows));
}

void Tmux::record(const std::string &file) {
    tmux("pipe-pane -o " + quote("cat >> " + quote(file)));
}

std::string Tmux::screen() { return tmux("capture-pane -p"); }

std::string Tmux::row(int n) {
    std::istringstream in(screen());
    std::string line;
    for (int i = 1; std::getline(in, line); ++i)
        if (i == n) return line;
    return "";
}

bool Tmux::wait_for(const std::string &text, int ms) {
    for (int t = 0; t <= ms; t += 50) {
        if (screen().find(text) != std::string::npos) return true;
        pause_ms(50);
    }
    return false;
}

bool Tmux::wait_gone(const std::string &text, int ms) {
    for (int t = 0; t <= ms; t += 50) {
        if (screen().find(text) == std::string::npos) return true;
        pause_ms(50);
    }
    return false;
}

bool Tmux::wait_exit(int ms) {
    for (int t = 0; t <= ms; t += 50) {
        if (::access((dir_ + "/status").c_str(), F_OK) == 0) {
            pause_ms(20);
            return true;
        }
        pause_ms(50);
    }
    return false;
}

int Tmux::exit_status() {
    std::ifstream f(dir_ + "/status");
    int s = -1;
    f >> s;
    return s;
}

} // namespace nvt
