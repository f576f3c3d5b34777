// Programs on a terminal of their own, for tests that type.
#ifndef TERMINAL_H
#define TERMINAL_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

#include "caller.h"

// A program on a terminal.
class Terminal {
 public:
  Terminal(std::vector<std::string> argv, std::vector<std::string> environment,
           const std::string& directory) {
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) return;
    const std::string name = ptsname(master_);
    std::vector<char*> arguments, variables;
    for (std::string& argument : argv)
      arguments.push_back(argument.data());
    for (std::string& variable : environment)
      variables.push_back(variable.data());
    arguments.push_back(nullptr);
    variables.push_back(nullptr);
    child_ = fork();
    if (child_ != 0) return;
    setsid();
    const int slave = open(name.c_str(), O_RDWR);
    ioctl(slave, TIOCSCTTY, 0);
    const winsize size = {40, 200, 0, 0};
    ioctl(slave, TIOCSWINSZ, &size);
    for (int fd = 0; fd < 3; fd++)
      dup2(slave, fd);
    if (slave > 2) close(slave);
    if (chdir(directory.c_str()) != 0) _exit(126);
    execve(arguments[0], arguments.data(), variables.data());
    _exit(127);
  }

  ~Terminal() {
    if (child_ > 0) {
      kill(-child_, SIGKILL);
      kill(child_, SIGKILL);
      waitpid(child_, nullptr, 0);
    }
    if (master_ >= 0) close(master_);
  }

  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void Type(const std::string& keys, Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    ASSERT_EQ(static_cast<ssize_t>(keys.size()), write(master_, keys.data(), keys.size()));
  }

  // Reads on until the text has come, and returns all up to its end; fails the test if it does not
  // come.
  std::string ReadUntil(const std::string& text, Caller caller = Caller::Here()) {
    const CalledFrom from(caller);
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::size_t at;
    while ((at = seen_.find(text)) == std::string::npos) {
      pollfd ready = {master_, POLLIN, 0};
      char block[4096];
      ssize_t count = -1;
      if (std::chrono::steady_clock::now() < limit && poll(&ready, 1, 1000) >= 0) {
        if (ready.revents == 0) continue;
        count = read(master_, block, sizeof block);
      }
      if (count <= 0) {
        ADD_FAILURE() << "no \"" << text << "\" came, but: " << seen_;
        return "";
      }
      seen_.append(block, static_cast<std::size_t>(count));
    }
    const std::string result = seen_.substr(0, at + text.size());
    seen_.erase(0, at + text.size());
    return result;
  }

 private:
  int master_ = -1;
  pid_t child_ = -1;
  std::string seen_;
};

#endif
