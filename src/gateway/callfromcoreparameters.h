// A call from the core, as the gateways receive it: what is acted on, and the texts that came with it.
#pragma once

#include <string>

namespace callfromcoreparametersnamespace {

class CallFromCoreParameters {
  public:
    // Copies the five texts; null counts as empty. `objectId` is -1 when the call has none.
    CallFromCoreParameters(long objectId, const char* argument1, const char* action, const char* value,
                           const char* argument4, const char* argument5);
    // A new object with the same values, owned by the caller.
    CallFromCoreParameters* clone() const;

    long getObjectId() const { return objectId_; }
    const std::string& getArgument1() const { return argument1_; }
    // What is asked for: "CHANGESTATUS".
    const std::string& getAction() const { return action_; }
    // For "CHANGESTATUS" the ID of the object that changed, in decimal.
    const std::string& getValue() const { return value_; }
    const std::string& getArgument4() const { return argument4_; }
    const std::string& getArgument5() const { return argument5_; }

  private:
    long objectId_;
    std::string argument1_;
    std::string action_;
    std::string value_;
    std::string argument4_;
    std::string argument5_;
};

}  // namespace callfromcoreparametersnamespace
