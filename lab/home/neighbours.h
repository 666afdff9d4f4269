// The commands about neighbours and the switch that lets new ones attach. `which`: a neighbour's ID or UID.
#pragma once

#include <optional>
#include <string>

#include "home/context.h"

namespace lab {

int list_neighbours(Context& context);
int enable_neighbour(Context& context, const std::string& which, bool enable);
// Removes all that its attach made: its record, its client browser with all relations, and its runners.
int remove_neighbour(Context& context, const std::string& which);
// Shows the switch, or sets it first.
int switch_attach(Context& context, std::optional<bool> on);

}  // namespace lab
