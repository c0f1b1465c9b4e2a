#include "apps/InputLines.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include "phone/LineSplitter.h"
#include "phone/PhoneApp.h"

namespace tunevale {

InputLines::InputLines(Handlers handlers) {
  if (::pipe(wake_) != 0) throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
  thread_ = std::thread([this, held = std::move(handlers)] { read(held); });
}

InputLines::~InputLines() {
  ::close(wake_[1]);
  thread_.join();
  ::close(wake_[0]);
}

void InputLines::read(const Handlers& handlers) const {
  phone::LineSplitter lines(phone::kMostCommandLine, handlers.line, handlers.tooLong);
  std::array<char, 65536> buffer;
  while (true) {
    std::array<pollfd, 2> sources{pollfd{STDIN_FILENO, POLLIN, 0}, pollfd{wake_[0], POLLIN, 0}};
    if (::poll(sources.data(), sources.size(), -1) < 0 && errno != EINTR) break;
    if (sources[1].revents != 0) return;
    if (sources[0].revents == 0) continue;
    const ssize_t size = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (size < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (size <= 0) break;
    lines.feed({buffer.data(), static_cast<std::size_t>(size)});
  }
  lines.finish();
  handlers.end();
}

}  // namespace tunevale
