#include "password_prompt.h"

#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace kolvane::cli {
namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// Read by the signal handler, so plain globals: a terminal left without echo after Ctrl-C
// would hide whatever the user types next in the shell.
termios savedTerminal;
volatile sig_atomic_t echoIsOff = 0;

void restoreTerminalAndEnd(int signal) {
  if (echoIsOff) tcsetattr(STDIN_FILENO, TCSANOW, &savedTerminal);
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

// Echo off on the terminal of standard input for its lifetime.
class EchoOff {
 public:
  EchoOff() {
    if (tcgetattr(STDIN_FILENO, &savedTerminal) != 0) return;
    struct sigaction restoring {};
    restoring.sa_handler = restoreTerminalAndEnd;
    sigemptyset(&restoring.sa_mask);
    for (std::size_t i = 0; i < std::size(kEndingSignals); ++i) {
      sigaction(kEndingSignals[i], &restoring, &previous_[i]);
    }
    termios quiet = savedTerminal;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    echoIsOff = tcsetattr(STDIN_FILENO, TCSANOW, &quiet) == 0;
    installed_ = true;
  }
  ~EchoOff() {
    if (!installed_) return;
    if (echoIsOff) tcsetattr(STDIN_FILENO, TCSANOW, &savedTerminal);
    echoIsOff = 0;
    for (std::size_t i = 0; i < std::size(kEndingSignals); ++i) {
      sigaction(kEndingSignals[i], &previous_[i], nullptr);
    }
  }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  struct sigaction previous_[std::size(kEndingSignals)]{};
  bool installed_ = false;
};

std::optional<std::string> readLine() {
  std::string line;
  if (!std::getline(std::cin, line) && line.empty()) return std::nullopt;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

}  // namespace

std::optional<std::string> readPassword(const std::string& user) {
  if (!isatty(STDIN_FILENO)) return readLine();
  std::fprintf(stderr, "Password for %s: ", user.c_str());
  std::fflush(stderr);
  std::optional<std::string> password;
  {
    EchoOff quiet;
    password = readLine();
  }
  // The newline the user typed was not echoed either.
  std::fputc('\n', stderr);
  return password;
}

}  // namespace kolvane::cli
