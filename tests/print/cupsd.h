// A private spooler daemon for tests: its own configuration, spool and log
// in the test's temporary folder, a raw queue, and a unix socket there
// (CUPS_SERVER points lp and lpstat at it). It is stopped by its pid. Every
// job's document and record stay in the spool, so a test reads exactly the
// bytes and the number of copies the queue received.
#pragma once

#include "demoshop.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace nvtest {

class PrivateCups {
  public:
    struct Job {
        std::string data;
        int copies = 1;
    };

    ~PrivateCups() { stop(); }

    // Starts the daemon in dir with the queue; empty text when it serves
    // the queue, else why it can't run here.
    std::string start(const std::string &dir, const std::string &queue) {
        dir_ = dir;
        const char *daemon = "/usr/sbin/cupsd";
        if (access(daemon, X_OK) != 0) return "no cupsd (scripts/setup installs cups-daemon)";
        if (access("/usr/bin/lp", X_OK) != 0) return "no lp (scripts/setup installs cups-client)";
        std::string err = demo::cups_config(dir, queue);
        if (!err.empty()) return err;
        pid_ = fork();
        if (pid_ == 0) {
            int log = open((dir + "/log/stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            dup2(log, 1), dup2(log, 2);
            execl(daemon, "cupsd", "-f", "-c", (dir + "/conf/cupsd.conf").c_str(), "-s",
                  (dir + "/conf/cups-files.conf").c_str(), (char *)nullptr);
            _exit(127);
        }
        std::string ask =
            "CUPS_SERVER='" + socket() + "' lpstat -v '" + queue + "' >/dev/null 2>&1";
        for (int i = 0; i < 400; ++i) {
            int status;
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return "cupsd stopped at start: " + slurp(dir + "/log/error_log") +
                       slurp(dir + "/log/stderr");
            }
            if (std::system(ask.c_str()) == 0) return "";
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
        }
        stop();
        return "cupsd did not serve the queue within 10 s";
    }

    void stop() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
        pid_ = -1;
    }

    std::string socket() const { return dir_ + "/cups.sock"; }

    // The completed jobs in the order they came, once there are at least n
    // of them (or whatever is there after 10 s).
    std::vector<Job> jobs(size_t n) {
        std::vector<Job> out;
        for (int i = 0; i < 400; ++i) {
            out = completed();
            if (out.size() >= n) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
        }
        return out;
    }

    static std::string slurp(const std::string &path) {
        std::ifstream f(path, std::ios::binary);
        std::stringstream s;
        s << f.rdbuf();
        return s.str();
    }

  private:
    // The value of an integer or enum attribute in a job's record.
    static int attribute(const std::string &rec, const std::string &name, int dflt) {
        std::string key = std::string(1, '\0') + (char)name.size() + name + '\0' + '\4';
        size_t at = rec.find(key);
        if (at == std::string::npos || at + key.size() + 4 > rec.size()) return dflt;
        const unsigned char *v = (const unsigned char *)rec.data() + at + key.size();
        return v[0] << 24 | v[1] << 16 | v[2] << 8 | v[3];
    }

    std::vector<Job> completed() {
        std::map<int, Job> found;
        DIR *d = opendir((dir_ + "/spool").c_str());
        for (dirent *e; d && (e = readdir(d));) {
            int id;
            char tail;
            if (std::sscanf(e->d_name, "c%5d%c", &id, &tail) != 1) continue;
            std::string rec = slurp(dir_ + "/spool/" + e->d_name);
            if (attribute(rec, "job-state", 0) != 9) continue; // completed
            char doc[32];
            std::snprintf(doc, sizeof doc, "/spool/d%05d-001", id);
            found[id] = Job{slurp(dir_ + doc), attribute(rec, "copies", 1)};
        }
        if (d) closedir(d);
        std::vector<Job> out;
        for (auto &[id, job] : found)
            out.push_back(job);
        return out;
    }

    std::string dir_;
    pid_t pid_ = -1;
};

} // namespace nvtest
