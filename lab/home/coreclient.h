// Has FSMCore carry out a request, over its socket.
#pragma once

#include <string>

#include "home/context.h"

namespace lab {

// A SERVICE_RUNONELEMENT request from `caller`. Waits for the reply for some seconds; returns an empty text, or why it
// was not carried out.
std::string run_on_element(const Context& context, const std::string& object, const std::string& action,
                           const std::string& value, const std::string& caller);

}  // namespace lab
