// One request to FSMCore over its socket, waiting for the reply.
#pragma once

#include <optional>
#include <string>

#include "common/coremessage.h"

namespace lab {

// The reply's status; nothing when there was none within some seconds, the reason then in `problem`.
std::optional<long> ask_core(const std::string& socket_path, const CoreRequest& request, std::string& problem);

// A SERVICE_RUNONELEMENT request.
CoreRequest run_on_element(const std::string& object, const std::string& action, const std::string& value,
                           const std::string& caller);

}  // namespace lab
