// The connections of the core's text protocol: one request to the core and its reply, and the reply to a call from the
// core. Used by core_request and by the gateway loop. Log lines begin with "FSMCoreutil->".
#pragma once

// Sends the request `function` with `count` parameters to the core's Unix-domain socket and waits, without a time-out,
// for the reply. `waittime` is what the core is told to wait at most, seconds in decimal.
//
// Returns the core's status (0 is success), 6 when the socket cannot be opened after five attempts, 7 when the request
// cannot be sent, 8 when the reply does not come or is malformed. With both out-arguments not null they receive the
// reply's parameters: an array and its texts, all heap blocks that the caller frees (free_core_texts).
int fsmcore_request(const char* socketPath, const char* function, int count, char** parameters, int* responseCount,
                    char*** responseParameters, const char* waittime);

// The same exchange with lengths around request and reply, for cores that split long messages.
int fsmcore_request_lengthmgm(const char* socketPath, const char* function, int count, char** parameters,
                              int* responseCount, char*** responseParameters, const char* waittime);

// Frees an array of `count` texts as fsmcore_request returns it.
void free_core_texts(char** texts, int count);

// Answers a call from the core on `fd`: the status and `count` parameters (null for none). Returns 0; or, after logging
// and closing `fd`, 7 when it cannot be sent.
int fsmcore_response(int fd, int status, int count, char** parameters);
