#include "tools/twreg/password.h"

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

#include "tools/twreg/failure.h"

namespace twreg {

namespace {

// Holds off the signals that people send from a terminal. One that arrives can be seen, and takes
// effect when the scope is left.
class HeldSignals {
 public:
  HeldSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP}) sigaddset(&held, number);
    pthread_sigmask(SIG_BLOCK, &held, &m_before);
    m_arrivals = signalfd(-1, &held, SFD_CLOEXEC);
    if (m_arrivals >= 0) return;
    Release();
    throw Failure(std::string("signals: ") + std::strerror(errno));
  }
  ~HeldSignals() {
    close(m_arrivals);
    Release();
  }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  // Waits until a signal has arrived or `file` can be read; whether it was a signal.
  bool ComeBefore(int file) const {
    pollfd waits[] = {{m_arrivals, POLLIN, 0}, {file, POLLIN, 0}};
    while (poll(waits, 2, -1) < 0 && errno == EINTR) continue;
    return waits[0].revents != 0;
  }

 private:
  void Release() const { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

  sigset_t m_before{};
  int m_arrivals = -1;
};

// Turns the terminal's echo off for the length of a scope.
class Silence {
 public:
  explicit Silence(const termios& before) : m_before(before) {
    termios now = before;
    now.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    const bool is_set = tcsetattr(STDIN_FILENO, TCSAFLUSH, &now) == 0;
    if (is_set && tcgetattr(STDIN_FILENO, &now) == 0 && (now.c_lflag & ECHO) == 0) return;
    throw Failure("The terminal's echo cannot be turned off");
  }
  ~Silence() {
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    std::fputs("\n", stderr);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  termios m_before;
};

// One byte; nothing at the end of the input. What stands behind the line is left to be read.
std::optional<char> ReadByte() {
  char c = 0;
  ssize_t size = 0;
  while ((size = read(STDIN_FILENO, &c, 1)) < 0 && errno == EINTR) continue;
  if (size < 0) throw Failure(std::string("standard input: ") + std::strerror(errno));
  return size == 1 ? std::optional(c) : std::nullopt;
}

// Nothing when `is_interrupted` says so before a byte.
template <class Predicate>
std::optional<std::string> ReadLine(Predicate is_interrupted) {
  std::string line;
  for (;;) {
    if (is_interrupted()) return std::nullopt;
    const std::optional<char> c = ReadByte();
    if (!c && line.empty()) throw Failure("There is no password on standard input");
    if (!c || *c == '\n') return line;
    if (*c == '\0') throw Failure("A NUL byte stands in the password");
    line += *c;
  }
}

// Nothing when a signal came first, which has taken effect by now.
std::optional<std::string> AskOnce(const termios& terminal) {
  const HeldSignals signals;
  const Silence silence(terminal);
  std::fputs("Password: ", stderr);
  return ReadLine([&] { return signals.ComeBefore(STDIN_FILENO); });
}

std::string Ask(const termios& terminal) {
  std::optional<std::string> line;
  while (!line) line = AskOnce(terminal);
  return *line;
}

}  // namespace

std::string ReadPassword() {
  termios terminal{};
  const bool is_terminal = tcgetattr(STDIN_FILENO, &terminal) == 0;
  std::string line = is_terminal ? Ask(terminal) : *ReadLine([] { return false; });
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

}  // namespace twreg
