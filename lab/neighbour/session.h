// One neighbour's dealings with one controller: keeps the identity and the token between commands, sends requests,
// judges and prints answers. Commands and the live view are written on top of it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "neighbour/datagrams.h"
#include "neighbour/home.h"
#include "neighbour/judge.h"
#include "neighbour/settings.h"
#include "neighbour/state.h"

namespace neighbour {

class Session {
  public:
    // Borrows the settings, which must outlive the session.
    explicit Session(const Settings& settings);

    const Settings& settings() const { return _settings; }
    // Who we are to the controller: from the command line, else as remembered from the attach, else the defaults.
    Identity identity() const;
    bool hasToken() const { return !identity().token.empty(); }
    std::uint16_t listenPort() const { return _state.listenPort; }

    // Sends a request and judges what comes back. With --raw the answer's bytes are printed, with --show the request;
    // what is wrong is told on the standard error.
    Verdict ask(const Json& request) const;
    Verdict askWithBytes(std::string_view bytes) const;

    // Attaches, remembers the token, and tells how it went (not with --raw).
    int attach(const AttachFields& fields);
    int detach(bool clearAll);

    // Walks through the groups of the home. On failure the status says why, and what was found so far stays.
    int discoverHome(std::vector<HomeObject>& home) const;
    // Registers for all, in datagrams that are short enough for a controller's one read.
    int registerFor(const std::vector<long long>& ids) const;

    // Prints the sentence for an answer without contents, as in "register: success". Nothing with --raw.
    void tell(const std::string& function, const Verdict& verdict) const;

  private:
    Verdict exchangeAndJudge(std::string_view bytes, const Json* request) const;
    int discoverContext(long long context, std::vector<HomeObject>& objects) const;
    int discoverContents(std::vector<HomeObject>& objects, std::set<long long>& entered, int depth) const;

    const Settings& _settings;
    std::string _stateFile;
    State _state;
};

}  // namespace neighbour
