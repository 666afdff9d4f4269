// The exit statuses of the neighbour command. A result code of the controller is passed on as it is, so everything that
// is not one lies above the codes that controllers send.
#pragma once

namespace neighbour::status {

constexpr int success = 0;
constexpr int highestResult = 119;  // results from 1 up to this are the exit status themselves
constexpr int otherResult = 120;    // a result that does not fit: negative, or higher
constexpr int noConnection = 121;   // refused, unreachable, or the TLS handshake failed
constexpr int noAnswer = 122;       // connected, but nothing came back
constexpr int badAnswer = 123;      // what came back is no answer to this request
constexpr int timeIsUp = 124;       // listen: fewer datagrams came than --count asked for
constexpr int usage = 125;          // wrong command line, or a local file or socket that cannot be used

}  // namespace neighbour::status
