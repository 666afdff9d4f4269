// One request to the core service: collects parameters, composes the two requests with a fixed form, runs the exchange
// and keeps the reply. Used by the users (logins), the runner record (run, quit), the client browser (login data
// reload) and the remotable objects (actions).
#pragma once

#include <map>
#include <memory>
#include <string>

#include "cbase/lasterror.h"

namespace libenvcore {

// Where the core listens; the only path that a request accepts.
inline constexpr const char* coreSocketPath = "/tmp/kova_variables/sockets/kova_fsmcore.socket";

class core_request {
  public:
    // A request named `name` to the core at `path`; both are copied. Another path (case ignored) or a null
    // name leaves a last error and an object that cannot run.
    core_request(const char* path, const char* name);

    // Appends a copy of `value` as the next parameter, "NO-VALUE" for a null or empty one. Returns 0.
    int set_coreservicerequestparameter(const char* value);
    // Makes this a "SERVICE_RUNONELEMENT" request. Null `payload`, `optionals`, `hashcode` and `caller` are sent as
    // "NO-PAYLOAD", "NO-OPTIONALS", "NO-HASHCODE" and "LIBENVCORE", a null `value` as "NO-VALUE". Returns 0, or 12
    // after logging when `sessionId`, `objectId` or `action` is null.
    int compose_runonelement(const char* sessionId, const char* objectId, const char* action, const char* value,
                             const char* payload, const char* optionals, const char* hashcode, const char* caller);
    // Makes this a "SERVICE_LOGINDATARELOAD" request without parameters. Returns 0.
    int compose_updateloginmanagerdata();

    // Performs the exchange. 0 on success; -1 with the last error set when the core answered another status than 0 or
    // did not answer. A parameter of 511 characters or more is cut to 512 and leaves a warning as the last error.
    int run();

    // What the last exchange returned: the core's status, or 6, 7, 8 when there was none.
    int get_coreserviceresponsestatus() const { return responseStatus; }
    int get_coreserviceresponseparametersnumber() const { return responseParameterCount; }
    // A parameter of the reply, "NO-VALUE" for an empty one; null when the reply has no such parameter.
    const char* get_coreserviceresponseparameter(int index) const;
    // The last error, or null. Owned by this object.
    const char* get_last_error() const { return lastError.get(); }
    [[gnu::format(printf, 2, 3)]] void set_last_error(const char* format, ...);
    const char* get_version() const;

  private:
    LastError lastError;
    std::string socketPath;
    std::string function;
    int requestParameterCount = 0;
    std::multimap<int, std::string> requestParameters;
    int responseStatus = 0;
    int responseParameterCount = 0;
    std::multimap<int, std::string> responseParameters;
};

// A request to the core, or null when memory is out.
std::unique_ptr<core_request> make_core_request(const char* function);

}  // namespace libenvcore
