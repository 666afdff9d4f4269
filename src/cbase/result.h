// Result codes shared by every unit: what functions return to their callers, what responses carry under "result" and
// what reaches the main loop. 0 is success; the other values are part of the protocol with neighbours and never change.
#pragma once

namespace result {

inline constexpr int ok = 0;
inline constexpr int unknownFunction = 2;      // unknown function or request, or a response where requests are expected
inline constexpr int readError = 3;            // a connection could not be read
inline constexpr int unsupportedMode = 4;      // communication mode other than 1
inline constexpr int socketFailure = 6;        // accept, connect or write failed, or the peer closed without data
inline constexpr int sendFailed = 7;           // a request to the core, or a reply to it, could not be sent
inline constexpr int malformedReply = 8;       // the core's reply could not be received or understood
inline constexpr int nothingDone = 10;         // initial value: nothing was handled
inline constexpr int invalidNeighbour = 11;    // neighbour, user or token not valid
inline constexpr int coreUnreachable = 11;     // a runner command could not be passed to the core
inline constexpr int missingParameter = 12;    // a core request lacks a parameter
inline constexpr int dbRequestFailed = 13;     // DB manager unreachable, or it reported an error
inline constexpr int missing = 16;             // missing record, list or ID
inline constexpr int refused = 29;             // attach disabled, bad login or bad token
inline constexpr int gatewayListFull = 30;     // no slot left for a gateway
inline constexpr int endRunner = 39;           // a clear-all detach is done: end this process
inline constexpr int dbSocketFailed = 308;     // DB manager: no connection
inline constexpr int dbUnsupported = 309;      // DB manager: function or statement type not supported
inline constexpr int dbSendFailed = 310;       // DB manager: request not sent
inline constexpr int dbAnswerMalformed = 311;  // DB manager: answer not received or not understood

}  // namespace result
