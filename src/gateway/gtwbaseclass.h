// What the gateway loop calls on the object behind a gateway. The client handler is the one that exists.
#pragma once

namespace callfromcoreparametersnamespace {
class CallFromCoreParameters;
}
namespace gtwhandlernamespace {
class GtwHandler;
}

namespace gtwbasenamespace {

class GtwBaseClass {
  public:
    GtwBaseClass() = default;
    GtwBaseClass(const GtwBaseClass&) = default;
    GtwBaseClass& operator=(const GtwBaseClass&) = default;

    // The core has called. `parameters` is borrowed for the call; clone() keeps a copy. The result becomes the result
    // of GtwHandler::run; result::endRunner asks the process to end.
    virtual int didReceiveCallFromCore(gtwhandlernamespace::GtwHandler* gateway,
                                       callfromcoreparametersnamespace::CallFromCoreParameters* parameters) = 0;
    // The gateway's descriptor `fd` is readable. The result is used in the same way.
    virtual int didReceiveCustomGatewayData(gtwhandlernamespace::GtwHandler* gateway, int fd) = 0;

    virtual ~GtwBaseClass() = default;
};

}  // namespace gtwbasenamespace
