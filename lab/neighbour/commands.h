// The neighbour's commands, as the command line has them: each does one thing with the controller, prints it for a
// person or raw, and returns the exit status.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cbase/timedio.h"
#include "neighbour/datagrams.h"
#include "neighbour/session.h"

namespace neighbour {

// Texts of IDs and groups come from the command line as they are; a wrong one is a usage error, and nothing is sent.
int attach(Session& session, AttachFields fields);
int detach(Session& session, bool clearAll);
// A file's bytes, or the standard input's for "-".
int send_bytes(const Session& session, const std::string& file);
int discovery(const Session& session, long long context, bool tree);
int register_objects(const Session& session, const std::vector<std::string>& ids);
int unregister_objects(const Session& session, const std::vector<std::string>& ids);
int getstatus(const Session& session, const std::vector<std::string>& selections);
int doaction(const Session& session, const std::vector<std::string>& words);

struct ListenOptions {
    std::optional<std::uint16_t> port;  // default: that of the last attach
    std::size_t count = 0;              // 0: no limit
    double seconds = 0;                 // 0: no limit
};
int listen_for_notifications(const Session& session, const ListenOptions& options);

// The port for notifications when nobody names one.
constexpr std::uint16_t defaultListenPort = 45201;

// When a command that runs for so many seconds ends; never when it is 0.
timedio::Deadline end_after(double seconds);

// Fills what the command line left open: the address and port at which the controller reaches us.
void complete(AttachFields& fields, const Session& session);

}  // namespace neighbour
