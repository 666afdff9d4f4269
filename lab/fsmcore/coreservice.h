// What FSMCore does with a request: check a login, act on an object, start or quit a runner; and tell the runners
// whose neighbours follow an object that it has changed.
#pragma once

#include <string>
#include <string_view>

#include "common/coremessage.h"
#include "common/journal.h"
#include "common/textserver.h"
#include "fsmcore/objects.h"
#include "fsmcore/runnercalls.h"
#include "fsmcore/runners.h"

namespace lab {

class CoreService : public TextService {
  public:
    // Borrows all of them, which must live longer.
    CoreService(Objects& objects, Runners& runners, RunnerCalls& calls, Journal& journal)
        : objects_(objects), runners_(runners), calls_(calls), journal_(journal) {}

    bool complete(std::string_view received) const override;
    void note(const std::string& request) override;
    std::string answer(const std::string& request, const Fault& fault) override;

  private:
    long serve(const CoreRequest& request);
    long login(const CoreRequest& request);
    long run_on_element(const CoreRequest& request);
    long command_runner(const std::string& id_text, const std::string& command);
    long act(const std::string& who, const CoreRequest& request);

    Objects& objects_;
    Runners& runners_;
    RunnerCalls& calls_;
    Journal& journal_;
};

}  // namespace lab
