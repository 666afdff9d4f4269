// The requests about objects: discovery, register, unregister, get-status and do-action. All answer, also when they
// refuse; each has its own refusal code.

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "cbase/result.h"
#include "m2m/datagrams/discovery.h"
#include "m2m/datagrams/doaction.h"
#include "m2m/datagrams/getstatus.h"
#include "m2m/datagrams/register.h"
#include "m2m/datagrams/unregister.h"
#include "m2m/m2mclienthandler.h"

namespace {

constexpr int registerRefused = 3;  // unlike the other requests, on purpose: neighbours know it

}  // namespace

int M2MClientHandler::handleDiscoveryRequest(M2MDiscoveryRequestDatagram* request, int fd) {
    constexpr const char* operation = "handleDiscoveryRequest";
    int code = result::refused;
    M2MDiscoveryResponseDatagram response;
    response.setContextId(request->getContextId());
    if (authorise(request->getToken(), operation)) {
        response.setObjectList(clientBrowser_->searchRemotableObjectsInContext(request->getContextId()).get());
        code = result::ok;
    }
    addressResponse(response, *request, currentToken(), code);
    const int sent = announceAndSend(response.encodeText(), fd, operation, atLeastNothing);
    return sent == result::ok ? code : sent;
}

int M2MClientHandler::handleRegisterRequest(M2MRegisterRequestDatagram* request, int fd) {
    constexpr const char* operation = "handleRegisterRequest";
    const int code = authorise(request->getToken(), operation)
                         ? clientBrowser_->registerObjects(request->getObjectIDList())
                         : registerRefused;
    M2MRegisterResponseDatagram response;
    addressResponse(response, *request, currentToken(), code);
    const Json json(response.encodeJSON());
    const int sent = announceAndSend(dump(json.get()), fd, operation, atLeastNothing);
    return sent == result::ok ? code : sent;
}

int M2MClientHandler::handleUnregisterRequest(M2MUnregisterRequestDatagram* request, int fd) {
    constexpr const char* operation = "handleUnregisterRequest";
    const int code = authorise(request->getToken(), operation)
                         ? clientBrowser_->unregisterObjects(request->getObjectIDList())
                         : result::refused;
    M2MUnregisterResponseDatagram response;
    addressResponse(response, *request, currentToken(), code);
    const Json json(response.encodeJSON());
    const int sent = announceAndSend(dump(json.get()), fd, operation, atLeastNothing);
    return sent == result::ok ? code : sent;
}

// Tells the loop only whether the answer was written; what became of the request is the neighbour's to know.
int M2MClientHandler::handleGetStatusRequest(M2MGetStatusRequestDatagram* request, int fd) {
    constexpr const char* operation = "handleGetStatusRequest";
    int code = result::invalidNeighbour;
    M2MGetStatusResponseDatagram response;
    if (authorise(request->getToken(), operation)) {
        const auto objects = M2MRemotableObject::readValuesFromDB(request->getObjectTagList());
        code = objects ? result::ok : result::missing;
        if (!objects) error("m2mclienthandler->handleGetStatusRequest error: object ID list from request is NULL");
        response.setObjectList(objects.get());
        response.setObjectTagList(request->getObjectTagList());
    }
    addressResponse(response, *request, currentToken(), code);
    const Json json(response.encodeJSON());
    return announceAndSend(dump(json.get()), fd, operation, atLeastNothing);
}

// Performs the actions in order up to the first that fails; what was done before it stays done. Returns its code, 10
// when there was nothing to do.
int M2MClientHandler::performActions(const M2MDoActionRequestDatagram& request) const {
    const auto* ids = request.getObjectIDList();
    const auto* tags = request.getObjectTagList();
    const auto* actions = request.getActionList();
    const auto* values = request.getActionValueList();
    int code = result::nothingDone;
    if (ids == nullptr || tags == nullptr || actions == nullptr || values == nullptr) return code;
    auto id = ids->begin();
    auto tag = tags->begin();
    auto action = actions->begin();
    auto value = values->begin();
    for (; id != ids->end() && tag != tags->end() && action != actions->end() && value != values->end();
         ++id, ++tag, ++action, ++value) {
        code = clientBrowser_->performAction(*id, *tag, *action, *value);
        if (code == result::ok) continue;
        error(
            "m2mclienthandler->handleDoActionRequest error: DO ACTION with parameters <%ld>-<%s>-<%s>-<%s> returned "
            "error "
            "code <%d>. Skipping next operations!",
            *id, tag->c_str(), action->c_str(), value->c_str(), code);
        break;
    }
    return code;
}

// As for get-status; the answer is not logged.
int M2MClientHandler::handleDoActionRequest(M2MDoActionRequestDatagram* request, int fd) {
    constexpr const char* operation = "handleDoActionRequest";
    const int code = authorise(request->getToken(), operation) ? performActions(*request) : result::refused;
    M2MDoActionResponseDatagram response;
    addressResponse(response, *request, currentToken(), code);
    const Json json(response.encodeJSON());
    return sendText(dump(json.get()), fd, operation, atLeastNothing);
}
