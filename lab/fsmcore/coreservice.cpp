#include "fsmcore/coreservice.h"

#include <iostream>
#include <vector>

#include "common/corestatus.h"
#include "common/text.h"

namespace lab {

namespace {

// The parameters of SERVICE_RUNONELEMENT, in order.
enum Parameter : unsigned { session, object, action, value, payload, optionals, hashcode, caller, parameter_count };

}  // namespace

bool CoreService::complete(std::string_view received) const {
    CoreRequest request;
    return parse_core_request(received, request) != Parsed::incomplete;
}

void CoreService::note(const std::string& request) {
    CoreRequest parsed;
    if (parse_core_request(request, parsed) != Parsed::complete) {
        journal_.write({"MALFORMED", request});
        return;
    }
    std::vector<std::string> fields{parsed.function};
    fields.insert(fields.end(), parsed.parameters.begin(), parsed.parameters.end());
    journal_.write(fields);
}

std::string CoreService::answer(const std::string& request, const Fault& fault) {
    CoreRequest parsed;
    const bool well_formed = parse_core_request(request, parsed) == Parsed::complete;
    const long status = fault.status ? *fault.status : well_formed ? serve(parsed) : core_status::malformed;
    return compose_core_reply(status, parsed.length_managed);
}

long CoreService::serve(const CoreRequest& request) {
    if (equal_ignoring_case(request.function, "SERVICE_LOGIN")) return login(request);
    if (equal_ignoring_case(request.function, "SERVICE_LOGINDATARELOAD")) {
        std::cout << "fsmcore: login data read again, " << objects_.count_logins() << " logged in" << std::endl;
        return core_status::done;
    }
    if (equal_ignoring_case(request.function, "SERVICE_RUNONELEMENT")) return run_on_element(request);
    std::cout << "fsmcore: unknown service " << escaped(request.function) << std::endl;
    return core_status::unknown_service;
}

long CoreService::login(const CoreRequest& request) {
    if (request.parameters.size() != 3) return core_status::malformed;
    const bool good = objects_.check_login(request.parameters[0], request.parameters[1]);
    std::cout << "fsmcore: login of " << escaped(request.parameters[0]) << (good ? " accepted" : " refused")
              << std::endl;
    return good ? core_status::done : core_status::login_refused;
}

long CoreService::run_on_element(const CoreRequest& request) {
    if (request.parameters.size() != parameter_count) return core_status::malformed;
    const std::string& who = request.parameters[caller];
    if (who == "COMMANDLINETOOL") return command_runner(request.parameters[action], request.parameters[value]);
    if (who == "M2MCLIENT" || who == "HOME") return act(who, request);
    std::cout << "fsmcore: unknown caller " << escaped(who) << std::endl;
    return core_status::unknown_service;
}

long CoreService::command_runner(const std::string& id_text, const std::string& command) {
    const auto id = to_number(id_text);
    if (!id) return core_status::unknown_runner;
    if (command == "RUN") return runners_.start(*id);
    return command == "QUIT" ? runners_.quit(*id) : core_status::unknown_action;
}

long CoreService::act(const std::string& who, const CoreRequest& request) {
    const auto id = to_number(request.parameters[object]);
    if (!id) return core_status::unknown_object;
    // The home's own interface may also set what only shows a value, such as a sensor.
    const bool check_allowed = who != "HOME";
    const ActionOutcome outcome =
        objects_.perform(*id, request.parameters[action], request.parameters[value], check_allowed);
    std::cout << "fsmcore: " << who << ": " << escaped(request.parameters[action]) << " "
              << escaped(request.parameters[value]) << " on object " << *id << ": "
              << (outcome.status == core_status::done ? "value is " + escaped(outcome.value)
                                                      : core_status::text(outcome.status))
              << std::endl;
    if (outcome.changed) {
        for (const Follower& follower : objects_.followers(*id))
            calls_.change_status(follower.runner_id, follower.port, follower.client_browser_id, follower.object_id);
    }
    return outcome.status;
}

}  // namespace lab
