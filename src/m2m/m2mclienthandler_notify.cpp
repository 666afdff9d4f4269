// What this process sends on its own account: one datagram on a connection of its own, no answer awaited, no retry.

#include <cerrno>
#include <cstring>

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "cbase/numbers.h"
#include "cbase/result.h"
#include "gateway/callfromcoreparameters.h"
#include "m2m/datagrams/changestatus.h"
#include "m2m/datagrams/expire.h"
#include "m2m/m2mclienthandler.h"

int M2MClientHandler::didReceiveCallFromCore(GtwHandler* /*gateway*/, CallFromCoreParameters* call) {
    const char* argument1 = call->getArgument1().c_str();
    const char* action = call->getAction().c_str();
    const char* value = call->getValue().c_str();
    info("m2mclienthandler->didReceiveCallFromCore  %ld, %s, %s, %s", call->getObjectId(), argument1, action, value);
    if (!clientBrowser_ || clientBrowser_->getID() < 0 || neighbourID() < 0) return result::nothingDone;
    if (call->getAction() != "CHANGESTATUS") {
        error("m2mclienthandler->didReceiveCallFromCore error: received unknown request %ld, %s, %s, %s",
              call->getObjectId(), argument1, action, value);
        return result::unknownFunction;
    }
    const std::list<long> changed{to_number(call->getValue())};
    return changeStatus(&changed);
}

int M2MClientHandler::changeStatus(const std::list<long>* objectIDs) {
    const std::string messageID = generateNewMessageID();
    if (neighbourID() < 0) {
        error("M2MClientHandler->changeStatus: neighbour is NULL or not present on DB");
        return result::missing;
    }
    const M2MChangeStatusRequestDatagram datagram(sourceUID_, neighbour_->getUID(), typeRequest, "changestatus", "",
                                                  messageID, objectIDs, false);
    const Json json(datagram.encodeJSON());
    return notifyNeighbour(dump(json.get()), "changeStatus");
}

int M2MClientHandler::neighbourExpire(int reason) {
    const std::string messageID = generateNewMessageID();
    if (neighbourID() < 0 || !clientBrowser_ || clientBrowser_->getID() < 0) {
        error("M2MClientHandler->neighbourExpire: neighbour or client browser object are NULL or not present on DB");
        return result::missing;
    }
    clientBrowser_->setEnableAllRelationsRemotableObjectsOnDB(false);
    clientBrowser_->clearToken();
    clientBrowser_->insertOrUpdateRelationWithUserOnDB();
    const M2MExpireRequestDatagram datagram(sourceUID_, neighbour_->getUID(), typeRequest, "expire", "", messageID,
                                            reason, false);
    const Json json(datagram.encodeJSON());
    return notifyNeighbour(dump(json.get()), "neighbourExpire");
}

// Success keeps the initial code: callers tell it from a failure by that.
int M2MClientHandler::notifyNeighbour(const std::string& text, const char* operation) {
    const int fd = socketConnectWrapper(neighbour_->getIpAddress(), neighbour_->getPort());
    if (fd < 0) {
        error("m2mclienthandler->%s error opening socket to address <%s> and port <%d> with error: %s", operation,
              neighbour_->getIpAddress().c_str(), neighbour_->getPort(), strerror(errno));
        return result::socketFailure;
    }
    const int sent = announceAndSend(text, fd, operation, atLeastNothing);
    socketCloseWrapper(fd);
    return sent == result::ok ? result::nothingDone : sent;
}
