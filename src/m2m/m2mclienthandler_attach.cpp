// Attach and detach: a neighbour is bound to this runner, given its token, and let go again.

#include <ctime>

#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "cbase/m2mutil.h"
#include "cbase/result.h"
#include "m2m/datagrams/attach.h"
#include "m2m/datagrams/detach.h"
#include "m2m/m2mclienthandler.h"

// A runner that has its neighbour takes attaches from that one only; another one takes them while the controller's
// configuration lets it. The flag is read in both cases.
bool M2MClientHandler::attachIsAllowed(const std::string& sourceUID) const {
    const bool enabled =
        m2m_attachlisteningisenabled("KOVA_M2M_CONFIGURATION", "KOVA_M2M_ATTACH_ENABLE_FLAG", "1") == 1;
    return neighbourID() < 0 ? enabled : neighbour_->getUID() == sourceUID;
}

int M2MClientHandler::saveAttachingNeighbour(const M2MAttachRequestDatagram& request, long now) {
    if (!neighbour_) neighbour_ = std::make_unique<M2MNeighbour>();
    neighbour_->setName(request.getClientTag());
    neighbour_->setProductorTag(request.getProductorTagID());
    neighbour_->setSoftwareVersion(request.getSoftwareVersion());
    neighbour_->setUID(request.getSourceUID());
    neighbour_->setIpAddress(request.getIPAddress());
    neighbour_->setStatus("ONLINE");
    neighbour_->setPort(request.getPort());
    neighbour_->setLastAccess(static_cast<int>(now));
    neighbour_->setUseSSL(isSSLEnabled());
    const int code = neighbour_->insertOrUpdateOnDB();
    if (code != result::ok)
        error("m2mclienthandler->handleAttachRequest error inserting/updating neighbour with UID <%s>",
              request.getSourceUID().c_str());
    return code;
}

// Finds the neighbour's client browser, or makes one for the user who logs in. One that a failed login left behind, not
// stored and without a user, counts as none, so that a mistyped password can be corrected.
void M2MClientHandler::findClientBrowser(const M2MAttachRequestDatagram& request) {
    const bool leftOver = clientBrowser_ && clientBrowser_->getID() < 0 && clientBrowser_->getUser() == nullptr;
    if (clientBrowser_ && !leftOver) return;
    const M2MClientBrowser empty;
    setClientBrowser(&empty);
    clientBrowser_->setIPAddress(request.getIPAddress());
    if (!clientBrowser_->searchOnDBByNeighbourID(true, neighbourID()) && !clientBrowser_->searchOnDBByIPAddress(true))
        clientBrowser_->setUser(request.getUsername(), request.getPassword());
}

// Records on both sides who belongs to whom, gives the neighbour a new token and makes this its only runner.
void M2MClientHandler::bindToNeighbour() {
    const std::string id = std::to_string(neighbourID());
    if (runner_) {
        runner_->setOption(neighbourIdOption, id);
        runner_->updateOnDB();
    }
    clientBrowser_->setOption(neighbourIdOption, id);
    clientBrowser_->insertOrUpdateOnDB();
    clientBrowser_->generateNewToken();
    clientBrowser_->insertOrUpdateRelationWithUserOnDB();
    clientBrowser_->setEnableAllRelationsRemotableObjectsOnDB(true);
    if (runner_) runner_->deleteOtherRunnerForNeighbour(neighbourID());
    setAttachArrived(true);
}

int M2MClientHandler::handleAttachRequest(M2MAttachRequestDatagram* request, int fd) {
    const long now = time(nullptr);
    if (!attachIsAllowed(request->getSourceUID())) {
        error(
            "m2mclienthandler->handleAttachRequest error: attach are disabled! Please enable them using the web "
            "interface "
            "and retry!");
        return result::refused;
    }
    if (request->getCommunicationMode() != M2MCommunicationMode::direct) {
        error("m2mclienthandler->handleAttachRequest error: communication mode <%d> is not supported!",
              static_cast<int>(request->getCommunicationMode()));
        return result::unsupportedMode;
    }
    int code = saveAttachingNeighbour(*request, now);
    if (code == result::ok) {
        findClientBrowser(*request);
        const M2MUser* user = clientBrowser_->getUser();
        if (user != nullptr && user->checkUsernameAndPasswordValidity(request->getPassword())) {
            bindToNeighbour();
        } else {
            error("m2mclienthandler->handleAttachRequest error: username <%s> and password <NOT PRINTED> are invalid",
                  request->getUsername().c_str());
            code = result::refused;
            clientBrowser_->clearToken();
            clientBrowser_->insertOrUpdateRelationWithUserOnDB();
        }
    }
    M2MAttachResponseDatagram response;
    addressResponse(response, *request, currentToken(), code);
    const Json json(response.encodeJSON());
    const int sent = announceAndSend(dump(json.get()), fd, "handleAttachRequest", atLeastOneByte);
    return sent == result::ok ? code : sent;
}

int M2MClientHandler::handleDetachRequest(M2MDetachRequestDatagram* request, int fd) {
    int code = result::nothingDone;
    if (!authorise(request->getToken(), "handleDetachRequest")) {
        code = result::invalidNeighbour;
    } else if (request->getClearAll()) {
        code = deleteFromDB();
    } else {
        clientBrowser_->clearToken();
        clientBrowser_->insertOrUpdateRelationWithUserOnDB();
        clientBrowser_->unregisterAllObjects();
        neighbour_->setStatus("OFFLINE");
        code = neighbour_->updateOnDB();
    }
    M2MDetachResponseDatagram response;
    addressResponse(response, *request, "", code);
    const Json json(response.encodeJSON());
    const int sent = announceAndSend(dump(json.get()), fd, "handleDetachRequest", atLeastOneByte);
    return sent == result::ok ? code : sent;
}
