// A file that is removed when a signal ends the process.
#ifndef PIXTOLA_TOOL_REMOVAL_ON_SIGNAL_H_
#define PIXTOLA_TOOL_REMOVAL_ON_SIGNAL_H_

#include <signal.h>

#include <atomic>

namespace pixtola::tool {

/// Holds back, while it lives, the signals by which users, terminals, timers, limits and closed
/// pipes end a process.
class SignalsHeldBack {
 public:
  SignalsHeldBack();
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;
  ~SignalsHeldBack();

 private:
  sigset_t before_{};
};

/// One file that must not be left behind. There may be several; only one thread at a time may begin
/// and end them.
class RemovalOnSignal {
 public:
  RemovalOnSignal() = default;
  RemovalOnSignal(const RemovalOnSignal&) = delete;
  RemovalOnSignal& operator=(const RemovalOnSignal&) = delete;
  ~RemovalOnSignal() { End(); }

  /// From now on signals remove the file. The path must live until the end.
  void Begin(const char* path);
  void End();

 private:
  static void RemoveAllAndDie(int signal);

  // A signal handler walks through the list, so it is whole after every single step.
  static std::atomic<RemovalOnSignal*> first_;

  std::atomic<const char*> path_ = nullptr;  ///< null when there is nothing to remove
  std::atomic<RemovalOnSignal*> next_ = nullptr;
};

}  // namespace pixtola::tool

#endif  // PIXTOLA_TOOL_REMOVAL_ON_SIGNAL_H_
