#pragma once

#include <unistd.h>
#include <utility>

// Owns a file descriptor; -1 for none.
class Descriptor {
public:
  explicit Descriptor(int opened) : number(opened) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  operator int() const { return number; }

  void close() {
    if (number >= 0)
      ::close(std::exchange(number, -1));
  }

private:
  int number;
};
