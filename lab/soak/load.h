// The mixed load: what a neighbour, its bad twin and the core do, in a random order that is the same for each run, one
// after the other. Each kind knows what must come of it.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "neighbour/datagrams.h"
#include "wire.h"

namespace soak {

// What became of the datagrams of one kind.
struct Tally {
    const char* kind;
    bool meantToFail;
    long sent = 0;
    long unexpected = 0;
    std::chrono::microseconds slowest{0};
};

class Load {
  public:
    struct Ports {
        std::uint16_t neighbour = 0;  // where the program takes datagrams
        std::uint16_t core = 0;       // where it takes the core's calls
        std::uint16_t ear = 0;        // where it is to send notifications
    };

    explicit Load(const Ports& ports);
    // Why there can be no load; empty when there can.
    const std::string& problem() const { return wire_.problem(); }

    // Attaches and registers; afterwards every kind can do its work. False when that fails.
    bool begin();
    // Sends one datagram of a kind drawn by weight, and what it takes afterwards to go on.
    void step();

    const std::vector<Tally>& tallies() const { return tallies_; }
    long sent() const;
    long unexpected() const;
    // Calls of the core that the program has understood; each is to become a notification.
    long callsUnderstood() const { return callsUnderstood_; }
    // The first surprises, a line each.
    const std::vector<std::string>& surprises() const { return surprises_; }

  private:
    struct Kind {
        const char* name;
        int weight;
        bool meantToFail;
        // Does it, and says what was not as it should be; empty when all was.
        std::string (Load::*play)();
    };
    static const std::array<Kind, 22> kinds;

    void play(std::size_t kind);

    neighbour::Identity identity() const { return {uid_, target_, token_}; }
    // Asks, and expects this result.
    std::string expectResult(const neighbour::Json& request, int result);
    std::string expectNoAnswer(const std::string& bytes);

    std::string attach();
    std::string attachWrongly();
    std::string detach();
    std::string discoverGroups();
    std::string discoverGroup();
    std::string registerObjects();
    std::string unregisterObject();
    std::string getStatus();
    std::string doAction();
    std::string coreCall();
    std::string wrongToken();
    std::string unknownFunction();
    std::string response();
    std::string junk();
    std::string silence();
    std::string resetAfterDatagram();
    std::string noHandshake();
    std::string datagramInClear();
    std::string halfAHello();
    std::string resetAtOnce();
    std::string callCutShort();
    std::string callOfUnknownService();

    Ports ports_;
    TlsWire wire_;
    std::mt19937 random_;
    std::discrete_distribution<std::size_t> draw_;
    std::vector<Tally> tallies_;
    std::vector<std::string> surprises_;
    std::string uid_ = "02:AA:BB:CC:DD:EE";
    std::string target_;
    std::string token_;
    bool attached_ = false;
    bool registered_ = false;
    long callsUnderstood_ = 0;
};

}  // namespace soak
