#include "libenvcore/core_request.h"

#include <strings.h>

#include <cstdarg>
#include <new>
#include <vector>

#include "cbase/logging.h"
#include "cbase/result.h"
#include "cbase/version.h"
#include "libenvcore/fsmcoreutil.h"

namespace libenvcore {

namespace {

constexpr std::size_t parameterLimit = 512;  // characters of a value in the core's format
constexpr const char* waittime = "5";        // seconds that the core may take

std::string or_no_value(const char* value) {
    return value == nullptr || *value == '\0' ? "NO-VALUE" : value;
}

}  // namespace

core_request::core_request(const char* path, const char* name) {
    if (path == nullptr || strcasecmp(path, coreSocketPath) != 0) {
        set_last_error("core_request::core_request error core service socket <%s> unsupported",
                       path == nullptr ? "" : path);
        return;
    }
    if (name == nullptr) {
        set_last_error("core_request::core_request error function is NULL");
        return;
    }
    socketPath = path;
    function = name;
}

int core_request::set_coreservicerequestparameter(const char* value) {
    requestParameters.emplace(requestParameterCount++, or_no_value(value));
    return result::ok;
}

int core_request::compose_runonelement(const char* sessionId, const char* objectId, const char* action,
                                       const char* value, const char* payload, const char* optionals,
                                       const char* hashcode, const char* caller) {
    const char* absent = nullptr;
    if (action == nullptr) absent = "action";
    if (objectId == nullptr) absent = "object ID";
    if (sessionId == nullptr) absent = "session ID";
    if (absent != nullptr) {
        error("libenvcore->compose_runonelement error: %s parameter is NULL", absent);
        return result::missingParameter;
    }
    function = "SERVICE_RUNONELEMENT";
    for (const char* parameter :
         {sessionId, objectId, action, value, payload == nullptr ? "NO-PAYLOAD" : payload,
          optionals == nullptr ? "NO-OPTIONALS" : optionals, hashcode == nullptr ? "NO-HASHCODE" : hashcode,
          caller == nullptr ? "LIBENVCORE" : caller})
        set_coreservicerequestparameter(parameter);
    return result::ok;
}

int core_request::compose_updateloginmanagerdata() {
    function = "SERVICE_LOGINDATARELOAD";
    return result::ok;
}

int core_request::run() {
    if (requestParameterCount > 0 && requestParameters.empty()) {
        set_last_error(
            "core_request::run error requestparameters collection is EMPTY but <%d> parameters number expected",
            requestParameterCount);
        return -1;
    }
    std::vector<std::string> values;
    values.reserve(requestParameters.size());
    for (const auto& [index, value] : requestParameters) {
        values.push_back(value.substr(0, parameterLimit));
        if (value.size() + 1 >= parameterLimit)
            set_last_error(
                "core_request::run warning requestparameters %d will be truncated because exceed the core "
                "service format %d > %d",
                index, static_cast<int>(value.size()), static_cast<int>(parameterLimit));
    }
    std::vector<char*> parameters;
    parameters.reserve(values.size());
    for (std::string& value : values) parameters.push_back(value.data());

    int count = 0;
    char** texts = nullptr;
    responseStatus = fsmcore_request(socketPath.c_str(), function.c_str(), static_cast<int>(parameters.size()),
                                     parameters.data(), &count, &texts, waittime);
    responseParameters.clear();
    for (int i = 0; i < count; ++i) responseParameters.emplace(i, or_no_value(texts[i]));
    free_core_texts(texts, count);
    responseParameterCount = static_cast<int>(responseParameters.size());
    if (responseStatus == 0) return 0;
    set_last_error("core_request::run error calling fsmcore_request <%d>", responseStatus);
    return -1;
}

const char* core_request::get_coreserviceresponseparameter(int index) const {
    const auto found = responseParameters.find(index);
    return found == responseParameters.end() ? nullptr : found->second.c_str();
}

void core_request::set_last_error(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    lastError.set(format, arguments);
    va_end(arguments);
}

const char* core_request::get_version() const {
    return version::libenvcore;
}

std::unique_ptr<core_request> make_core_request(const char* function) {
    try {
        return std::make_unique<core_request>(coreSocketPath, function);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace libenvcore
