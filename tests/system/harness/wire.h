// Bytes to and from the program: connections as a neighbour or the core makes them, well-behaved or not, and the texts
// of datagrams as they stand on the wire.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "neighbour/connection.h"
#include "neighbour/datagrams.h"
#include "neighbour/listener.h"

namespace harness {

using neighbour::Json;

constexpr const char* ourUid = "02:11:22:33:44:55";  // the sandbox's eth0
constexpr const char* neighbourUid = "AA:BB:CC:DD:EE:FF";

// A connection to a port of this machine; reading and writing give up after a minute. A receive buffer above 0 is the
// size to ask for.
neighbour::Descriptor dial(int port, int receiveBuffer = 0);
void sendBytes(const neighbour::Descriptor& connection, std::string_view bytes);
// What comes until the other side closes.
std::string readAll(const neighbour::Descriptor& connection);
// Closes with a reset instead of a farewell.
void reset(neighbour::Descriptor connection);

// The whole exchange of one datagram.
neighbour::Exchange exchange(int port, bool tls, std::string_view bytes);
// A connection on which the handshake is done.
neighbour::Connection talk(int port, bool tls, int receiveBuffer = 0);
neighbour::Deadline soon();
// A neighbour's listening port; its certificate is made on the spot.
neighbour::Listener listenAt(int port, bool tls);
neighbour::ContextPointer serverContext(const std::string& version = "");

// {"type":"request","function":...} with the members that follow the envelope, as in R"("context_id":"10")".
std::string request(const std::string& function, const std::string& token, const std::string& members = "",
                    const std::string& uid = neighbourUid);
std::string response(const std::string& function, int code, const std::string& token, const std::string& members = "",
                     const std::string& uid = neighbourUid, const std::string& messageId = "m1");
// `text` with every `what` replaced.
std::string replaced(std::string text, const std::string& what, const std::string& with);

struct Attach {
    std::string user = "anna";
    std::string password = "sesame";
    std::string uid = neighbourUid;
    std::string mode = R"(,"communication_mode":1)";
    std::string address = "127.0.0.1";
    int port = 20300;
    std::string text() const;
};

// A call as the core makes it.
std::string coreCall(const std::string& object, const std::string& action, const std::string& value);

}  // namespace harness
