#include "removal_on_signal.h"

#include <unistd.h>

namespace pixtola::tool {

namespace {

constexpr int kEndingSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGXCPU,
                                  SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2};

void HandleEndingSignals(void (*handler)(int)) {
  for (const int signal : kEndingSignals) {
    struct sigaction action {};
    // Signals that the tool was started to ignore (as by nohup) stay ignored.
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
  }
}

}  // namespace

std::atomic<RemovalOnSignal*> RemovalOnSignal::first_ = nullptr;

SignalsHeldBack::SignalsHeldBack() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : kEndingSignals) ::sigaddset(&signals, signal);
  ::sigprocmask(SIG_BLOCK, &signals, &before_);
}

SignalsHeldBack::~SignalsHeldBack() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }

void RemovalOnSignal::RemoveAllAndDie(int signal) {
  for (const RemovalOnSignal* removal = first_; removal != nullptr; removal = removal->next_) {
    const char* path = removal->path_;
    if (path != nullptr) ::unlink(path);
  }
  // The handler was installed for one signal: the second one ends the process as usual.
  (void)::raise(signal);
}

void RemovalOnSignal::Begin(const char* path) {
  End();
  next_ = first_.load();
  path_ = path;
  first_ = this;
  HandleEndingSignals(RemoveAllAndDie);
}

void RemovalOnSignal::End() {
  if (path_ == nullptr) return;
  path_ = nullptr;
  std::atomic<RemovalOnSignal*>* link = &first_;
  while (link->load() != this) link = &link->load()->next_;
  *link = next_.load();
}

}  // namespace pixtola::tool
