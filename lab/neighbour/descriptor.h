// A file descriptor that is closed with its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace neighbour {

class Descriptor {
  public:
    explicit Descriptor(int descriptor = -1) : _descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(_descriptor, other._descriptor);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (_descriptor >= 0) close(_descriptor);
    }

    int get() const { return _descriptor; }
    bool valid() const { return _descriptor >= 0; }

  private:
    int _descriptor;
};

}  // namespace neighbour
