#include "neighbour/state.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "cbase/descriptor.h"
#include "common/text.h"
#include "neighbour/datagrams.h"
#include "neighbour/judge.h"

namespace neighbour {

std::string state_file(const Settings& settings) {
    if (!settings.stateFile.empty()) return settings.stateFile;
    std::string name = "m2mneighbour-" + settings.host + "-" + std::to_string(settings.port);
    std::replace(name.begin(), name.end(), '/', '_');
    const char* const state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') return std::string(state) + "/" + name;
    const char* const home = std::getenv("HOME");
    return std::string(home != nullptr && *home != '\0' ? home : "/tmp") + "/." + name;
}

State load_state(const std::string& file) {
    const auto json = decode(lab::file_text(file));
    if (!json) return {};
    State state{text_member(*json, "uid"), text_member(*json, "target"), text_member(*json, "token"), 0};
    const auto port = integer_member(*json, "listen_port").value_or(0);
    if (port > 0 && port <= std::numeric_limits<std::uint16_t>::max()) {
        state.listenPort = static_cast<std::uint16_t>(port);
    }
    return state;
}

bool save_state(const std::string& file, const State& state) {
    const Json json{
        {"uid", state.uid}, {"target", state.target}, {"token", state.token}, {"listen_port", state.listenPort}};
    const std::string text = json.dump() + "\n";
    // Beside it first: a reader finds the old file or the new one, never half of it.
    const std::string fresh = file + ".new";
    const Descriptor out(open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    return out.valid() && write(out.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
           std::rename(fresh.c_str(), file.c_str()) == 0;
}

void forget_state(const std::string& file) {
    std::remove(file.c_str());
}

}  // namespace neighbour
