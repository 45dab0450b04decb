#pragma once

#include <unistd.h>

namespace platform::posix {

/// Owns an open file descriptor. A negative number owns nothing.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { Close(); }

  int Number() const { return number_; }
  bool IsOpen() const { return number_ >= 0; }

  /// Closes it before the end of its lifetime.
  void Close() {
    if (IsOpen()) ::close(number_);
    number_ = -1;
  }

 private:
  int number_;
};

}  // namespace platform::posix
