// What a neighbour remembers from its attach for the commands that follow: who it is, who the controller is, the token,
// and where it listens. A small JSON file, readable for its owner only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "neighbour/settings.h"

namespace neighbour {

struct State {
    std::string uid;
    std::string target;
    std::string token;
    std::uint16_t listenPort = 0;  // 0: not known
};

// The file named in the settings, else m2mneighbour-HOST-PORT in $XDG_STATE_HOME, else .m2mneighbour-HOST-PORT in the
// home folder.
std::string state_file(const Settings& settings);

// An absent or damaged file is an empty state.
State load_state(const std::string& file);
// Replaces the file as a whole; false when it cannot be written.
bool save_state(const std::string& file, const State& state);
void forget_state(const std::string& file);

}  // namespace neighbour
