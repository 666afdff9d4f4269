// A file descriptor that closes itself. Used wherever a descriptor lives longer than one expression.
#pragma once

#include <unistd.h>

#include <utility>

class Descriptor {
  public:
    Descriptor() = default;
    // Takes over `fd`; a negative value means none.
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    // Gives the descriptor up to the caller, who closes it.
    int release() { return std::exchange(fd_, -1); }
    // Closes the descriptor held and takes over `fd`.
    void reset(int fd = -1) {
        if (fd_ >= 0) ::close(fd_);
        fd_ = fd;
    }

  private:
    int fd_ = -1;
};
