// One entry of the gateway list: a descriptor to watch and the object to call when it is readable.
#pragma once

#include "gateway/gtwbaseclass.h"

namespace gtwlistelementnamespace {

class GtwListElement {
  public:
    GtwListElement() = default;
    // Borrows `handler`, which must outlive the entry.
    GtwListElement(int fd, gtwbasenamespace::GtwBaseClass* handler) : fd_(fd), handler_(handler) {}

    int getFd() const { return fd_; }
    void setFd(long fd) { fd_ = static_cast<int>(fd); }
    gtwbasenamespace::GtwBaseClass* getHandler() const { return handler_; }
    void setHandler(gtwbasenamespace::GtwBaseClass* handler) { handler_ = handler; }

  private:
    int fd_ = 0;
    gtwbasenamespace::GtwBaseClass* handler_ = nullptr;
};

}  // namespace gtwlistelementnamespace
