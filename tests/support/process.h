// Steps that need a process of their own: another opener, other rights, another environment.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace test {

// A child process that runs `body` and ends with the code that it returns, without running
// destructors. Waits for it in Code() or, at the latest, when the scope is left.
class Child {
 public:
  template <class Body>
  explicit Child(Body body) : m_process(fork()) {
    if (m_process == 0) _exit(body());
  }
  ~Child() { Code(); }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  void Kill() { kill(m_process, SIGKILL); }

  // Its exit code, or minus the signal that ended it.
  int Code() {
    if (m_process > 0) {
      int status = 0;
      waitpid(m_process, &status, 0);
      m_process = -1;
      m_code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    return m_code;
  }

 private:
  pid_t m_process;
  int m_code = -1;
};

// What `body` returns when a child process runs it.
template <class Body>
int InChild(Body body) {
  return Child(body).Code();
}

// A signal between processes: one waits until another, or this one itself, sends.
class Signal {
 public:
  Signal() {
    if (pipe(m_ends) != 0) ADD_FAILURE() << "no pipe";
  }
  ~Signal() {
    close(m_ends[0]);
    close(m_ends[1]);
  }
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  void Send() { EXPECT_EQ(write(m_ends[1], "!", 1), 1); }
  void Wait() {
    char c;
    EXPECT_EQ(read(m_ends[0], &c, 1), 1);
  }

 private:
  int m_ends[2];
};

}  // namespace test
