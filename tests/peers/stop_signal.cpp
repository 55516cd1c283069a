#include "tests/peers/stop_signal.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace custom_bidi_test {

StopSignal::StopSignal() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (event_ < 0)
    throw std::system_error(errno, std::generic_category(), "eventfd");
}

StopSignal::~StopSignal() {
  close(event_);
}

void StopSignal::Give() {
  eventfd_write(event_, 1);
}

bool StopSignal::WaitFor(int file, short events) const {
  pollfd files[] = {{.fd = event_, .events = POLLIN, .revents = 0},
                    {.fd = file, .events = events, .revents = 0}};
  while (poll(files, 2, -1) < 0 && errno == EINTR) {
  }
  return files[0].revents == 0;
}

bool StopSignal::Sleep(std::chrono::milliseconds duration) const {
  pollfd file = {.fd = event_, .events = POLLIN, .revents = 0};
  return poll(&file, 1, static_cast<int>(duration.count())) == 0;
}

}  // namespace custom_bidi_test
