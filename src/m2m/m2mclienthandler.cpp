// The session itself: start from the command line, connections, and the road of one datagram.

#include "m2m/m2mclienthandler.h"

#include <openssl/err.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "cbase/cstylecode_identity.h"
#include "cbase/cstylecode_sockets.h"
#include "cbase/jsontext.h"
#include "cbase/logging.h"
#include "cbase/memory.h"
#include "cbase/numbers.h"
#include "cbase/random.h"
#include "cbase/result.h"
#include "m2m/datagrams/attach.h"
#include "m2m/datagrams/datagramreader.h"
#include "m2m/datagrams/detach.h"
#include "m2m/datagrams/discovery.h"
#include "m2m/datagrams/doaction.h"
#include "m2m/datagrams/getstatus.h"
#include "m2m/datagrams/passwordmask.h"
#include "m2m/datagrams/register.h"
#include "m2m/datagrams/unregister.h"

namespace {

constexpr int backlog = 64;
constexpr std::size_t datagramLimit = 65536;  // bytes of one read, and so of a datagram
constexpr const char* certificateFile = "/web/key/m2mserver.pem";
constexpr const char* keyFile = "/web/key/m2mserver.key";

// A socket error must survive the logging and closing that follow it.
class KeepErrno {
  public:
    KeepErrno() = default;
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;
    ~KeepErrno() { errno = kept_; }

  private:
    int kept_ = errno;
};

}  // namespace

// --- Start and end -------------------------------------------------------------------------------------------------

M2MClientHandler::M2MClientHandler(int argc, char** argv) {
    char* mac = nullptr;
    if (getlocalmac(&mac) >= 0) sourceUID_ = mac;
    const XText owner(mac);
    searchParametersFromArgument(argc, argv);
    setListeningSocket(make_internet_socket(port_, backlog));
    setUpNeighbour();
    setUpSSL();
    if (neighbour_) {
        neighbour_->setUseSSL(isSSLEnabled());
        neighbour_->updateOnDB();
    }
    creationTimestamp_ = time(nullptr);
}

// The base is named for GCC, which wants it in a copy constructor.
M2MClientHandler::M2MClientHandler(const M2MClientHandler& /*other*/)
    : GtwBaseClass() {}  // NOLINT(readability-redundant-member-init)

M2MClientHandler::~M2MClientHandler() {
    if (listeningSocket_ < 0) return;
    setSSLServerSession(nullptr);
    shutdown(listeningSocket_, SHUT_RDWR);
    close(listeningSocket_);
}

void M2MClientHandler::searchParametersFromArgument(int argc, char** argv) {
    // One test after the other, not one of them: the value of an option is itself looked at by the tests that follow.
    for (int i = 0; i < argc; ++i) {
        const auto hasValue = [&i, argc] { return i + 1 < argc; };
        if (std::strcmp(argv[i], "--first-run") == 0) firstRun_ = true;
        if (std::strcmp(argv[i], "--listen-for-attach-on-port") == 0 && hasValue())
            port_ = static_cast<int>(to_number(argv[++i]));
        if (strcasecmp(argv[i], "--id") == 0 && hasValue()) setRunner(static_cast<int>(to_number(argv[++i])));
        if (std::strcmp(argv[i], "--noSSL") == 0) sslEnabled_ = false;
    }
}

// A first run awaits any neighbour; a restarted runner finds its neighbour in its own record.
void M2MClientHandler::setUpNeighbour() {
    const M2MNeighbour unknown;
    if (firstRun_) {
        setNeighbour(&unknown);
        if (runner_) runner_->removeFirstRunParameter();
        return;
    }
    const std::string option = runner_ ? runner_->getOption(neighbourIdOption) : std::string();
    if (option.empty()) {
        setNeighbour(&unknown);
        return;
    }
    const long id = to_number(option);
    const M2MNeighbour stored(id);
    setNeighbour(&stored);
    M2MClientBrowser browser;
    if (browser.searchOnDBByNeighbourID(true, id)) setClientBrowser(&browser);
    attachArrived_ = true;
}

void M2MClientHandler::setUpSSL() {
    if (!sslEnabled_) return;
    setSSLServerContext(init_SSLsocket_server_context(certificateFile, keyFile));
    setSSLClientContext(init_SSLsocket_client_context());
}

int M2MClientHandler::deleteFromDB() {
    if (runner_) runner_->deleteFromDB();
    if (neighbour_) neighbour_->deleteFromDB();
    if (clientBrowser_) {
        clientBrowser_->deleteAllRelationsFromDB();
        clientBrowser_->deleteFromDB();
    }
    setRunner(-1);
    setNeighbour(nullptr);
    setClientBrowser(nullptr);
    return result::ok;
}

// --- Attributes ----------------------------------------------------------------------------------------------------

void M2MClientHandler::setListeningSocket(int fd) {
    if (listeningSocket_ > 0) {
        shutdown(listeningSocket_, SHUT_RDWR);
        close(listeningSocket_);
    }
    listeningSocket_ = fd;
}

void M2MClientHandler::setRunner(int id) {
    runner_ = id < 0 ? nullptr : std::make_unique<M2MScriptRunner>(static_cast<long>(id));
}

void M2MClientHandler::setNeighbour(const M2MNeighbour* neighbour) {
    neighbour_ = neighbour == nullptr ? nullptr : std::make_unique<M2MNeighbour>(neighbour);
}

void M2MClientHandler::setClientBrowser(const M2MClientBrowser* clientBrowser) {
    clientBrowser_ = clientBrowser == nullptr ? nullptr : std::make_unique<M2MClientBrowser>(clientBrowser);
}

void M2MClientHandler::setSSLClientContext(SSL_CTX* context) {
    setSSLClientSession(nullptr);
    sslClientContext_.reset(context);
}

void M2MClientHandler::SessionEnd::operator()(SSL* session) const {
    const KeepErrno keepErrno;
    SSL_shutdown(session);
    SSL_free(session);
    ERR_clear_error();
}

std::string M2MClientHandler::generateNewMessageID() const {
    constexpr std::size_t length = 8;
    std::string id;
    id.assign(length, random_character());
    return id;
}

// --- Connections ---------------------------------------------------------------------------------------------------

int M2MClientHandler::socketAcceptWrapper(int listener) {
    readDeadline_ = timedio::deadline_in(timedio::peerTimeout);
    if (!sslEnabled_) return timedio::accept_connection(listener);
    SSL* session = nullptr;
    int withoutSession = -1;
    const int fd = accept_SSLsocket(listener, sslServerContext_.get(), &session, &withoutSession);
    const KeepErrno keepErrno;
    setSSLServerSession(session);
    timedio::close_connection(withoutSession);
    return fd;
}

int M2MClientHandler::socketConnectWrapper(const std::string& address, int port) {
    readDeadline_ = timedio::deadline_in(timedio::peerTimeout);
    if (!sslEnabled_) return make_internettcpclient_socket(address.c_str(), port, timedio::peerTimeout);
    SSL* session = nullptr;
    int withoutSession = -1;
    const int fd =
        make_internettcpclient_SSLsocket(sslClientContext_.get(), address.c_str(), port, &session, &withoutSession);
    const KeepErrno keepErrno;
    setSSLClientSession(session);
    timedio::close_connection(withoutSession);
    return fd;
}

SSL* M2MClientHandler::sessionOf(int fd) const {
    if (sslServerSession_ && SSL_get_fd(sslServerSession_.get()) == fd) return sslServerSession_.get();
    if (sslClientSession_ && SSL_get_fd(sslClientSession_.get()) == fd) return sslClientSession_.get();
    return nullptr;
}

int M2MClientHandler::socketReadWrapper(int fd, void* buffer, int length) {
    if (!sslEnabled_)
        return static_cast<int>(timedio::receive(fd, buffer, static_cast<std::size_t>(length), readDeadline_));
    if (SSL* session = sessionOf(fd)) return read_SSLsocket(session, buffer, length, readDeadline_);
    error("m2mclienthandler->socketReadWrapper SSL enabled, but there is no SSL session for file descriptor <%d>", fd);
    return 0;
}

int M2MClientHandler::socketWriteWrapper(int fd, const void* data, int length) {
    const auto deadline = timedio::deadline_in(timedio::peerTimeout);
    if (!sslEnabled_) return static_cast<int>(timedio::send_all(fd, data, static_cast<std::size_t>(length), deadline));
    if (SSL* session = sessionOf(fd)) return write_SSLsocket(session, data, length, deadline);
    error("m2mclienthandler->socketWriteWrapper SSL enabled, but there is no SSL session for file descriptor <%d>", fd);
    return 0;
}

void M2MClientHandler::socketCloseWrapper(int fd) {
    if (sslEnabled_) {
        const SSL* session = sessionOf(fd);
        if (session == nullptr) {
            // The text names the write wrapper, as it always did.
            error(
                "m2mclienthandler->socketWriteWrapper SSL enabled, but there is no SSL session for file descriptor "
                "<%d>",
                fd);
        } else if (session == sslServerSession_.get()) {
            setSSLServerSession(nullptr);
        } else {
            setSSLClientSession(nullptr);
        }
    }
    timedio::close_connection(fd);
}

// --- The road of one datagram --------------------------------------------------------------------------------------

// One row per function: its name, its name in the log, and how a request is parsed and handled.
struct M2MClientHandler::Function {
    const char* name;
    const char* nameInLog;
    int (*serve)(M2MClientHandler& handler, const std::string& text, int fd, Intake& intake);

    template <class Request, int (M2MClientHandler::*handle)(Request*, int)>
    static int serveRequest(M2MClientHandler& handler, const std::string& text, int fd, Intake& intake) {
        Request request(text);
        if constexpr (std::is_same_v<Request, M2MDetachRequestDatagram>) intake.clearAll = request.getClearAll();
        return (handler.*handle)(&request, fd);
    }
};

const M2MClientHandler::Function M2MClientHandler::functions[] = {
    {"attach", "ATTACH", Function::serveRequest<M2MAttachRequestDatagram, &M2MClientHandler::handleAttachRequest>},
    {"discovery", "DISCOVERY",
     Function::serveRequest<M2MDiscoveryRequestDatagram, &M2MClientHandler::handleDiscoveryRequest>},
    {"register", "REGISTER",
     Function::serveRequest<M2MRegisterRequestDatagram, &M2MClientHandler::handleRegisterRequest>},
    {"unregister", "UNREGISTER",
     Function::serveRequest<M2MUnregisterRequestDatagram, &M2MClientHandler::handleUnregisterRequest>},
    {"doaction", "DOACTION",
     Function::serveRequest<M2MDoActionRequestDatagram, &M2MClientHandler::handleDoActionRequest>},
    {"getstatus", "GETSTATUS",
     Function::serveRequest<M2MGetStatusRequestDatagram, &M2MClientHandler::handleGetStatusRequest>},
    {"detach", "DETACH", Function::serveRequest<M2MDetachRequestDatagram, &M2MClientHandler::handleDetachRequest>},
};

int M2MClientHandler::didReceiveCustomGatewayData(GtwHandler* /*gateway*/, int listener) {
    constexpr const char* operation = "didReceiveCustomGatewayData";
    Intake intake{result::nothingDone, std::nullopt, false};
    const int fd = socketAcceptWrapper(listener);
    if (fd < 0) {
        error(
            "m2mclienthandler->didReceiveCustomGatewayData accept failed with error '%s', continuing for the next "
            "request",
            strerror(errno));
        intake.result = result::socketFailure;
    } else {
        const auto text = receiveDatagram(fd, intake);
        if (text) dispatch(*text, fd, intake);
    }
    if (intake.errorReply) {
        const Json reply(intake.errorReply->encodeJSON());
        if (announceAndSend(dump(reply.get()), fd, operation, atLeastOneByte) != result::ok)
            intake.result = result::socketFailure;
    }
    socketCloseWrapper(fd);
    if (intake.clearAll && intake.result == result::ok) {
        error(
            "m2mclienthandler->didReceiveCustomGatewayData received an M2M detach request with clear all flag set. "
            "Killing "
            "this runner!");
        intake.result = result::endRunner;
    }
    return intake.result;
}

// What one read brings is the datagram; there is no framing. A failed read leaves an error reply. The buffer is no
// block of the heap: giving back one of this size makes the allocator tidy up, for each datagram.
std::optional<std::string> M2MClientHandler::receiveDatagram(int fd, Intake& intake) {
    std::array<char, datagramLimit> buffer;
    const int received = socketReadWrapper(fd, buffer.data(), static_cast<int>(buffer.size()));
    if (received > 0) return std::string(buffer.data(), strnlen(buffer.data(), static_cast<std::size_t>(received)));
    if (received < 0) {
        error("m2mclienthandler->didReceiveCustomGatewayData recvfrom with error '%s'", strerror(errno));
        intake.result = result::readError;
    } else {
        error("m2mclienthandler->didReceiveCustomGatewayData error the peer has performed an unexpected shutdown");
        intake.result = result::socketFailure;
    }
    intake.errorReply.emplace(sourceUID_, "", typeResponse, "", "", intake.result, "");
    return std::nullopt;
}

void M2MClientHandler::dispatch(const std::string& text, int fd, Intake& intake) {
    debug("m2mclienthandler->didReceiveCustomGatewayData Received M2M datagram '%s'", mask_passwords(text).c_str());
    const ParsedText parsed(text);
    const M2MRequestDatagram datagram(text);
    if (neighbourID() >= 0) neighbour_->fillFromDB();

    for (const Function& function : functions) {
        if (datagram.getFunction() != function.name) continue;
        if (datagram.getType() == typeRequest) {
            info("m2mclienthandler->didReceiveCustomGatewayData %s REQUEST RECEIVED", function.nameInLog);
            intake.result = function.serve(*this, text, fd, intake);
        } else if (datagram.getType() == typeResponse) {
            info("m2mclienthandler->didReceiveCustomGatewayData %s RESPONSE RECEIVED", function.nameInLog);
            reject(datagram, intake);
        }
        return;
    }
    error("m2mclienthandler->didReceiveCustomGatewayData M2M function <%s> is unknown/unimplemented",
          datagram.getFunction().c_str());
    reject(datagram, intake);
}

// Answers what has no place here: unknown functions, and responses on the side where requests come in.
void M2MClientHandler::reject(const M2MDatagram& datagram, Intake& intake) const {
    intake.result = result::unknownFunction;
    intake.errorReply.emplace();
    addressResponse(*intake.errorReply, datagram, "", result::unknownFunction);
}

bool M2MClientHandler::authorise(const std::string& token, const char* operation) const {
    const bool authorised = clientBrowser_ && neighbourID() >= 0 && neighbour_->getEnableFlag() &&
                            clientBrowser_->getUserID() >= 0 && clientBrowser_->verifyToken(token);
    if (!authorised)
        error("m2mclienthandler->%s error: neighbour with ID <%ld> is not valid or not enabled", operation,
              neighbourID());
    return authorised;
}

void M2MClientHandler::addressResponse(M2MResponseDatagram& response, const M2MDatagram& request,
                                       const std::string& token, int code) const {
    response.setSourceUID(sourceUID_);
    response.setDestinationUID(request.getSourceUID());
    response.setType(typeResponse);
    response.setFunction(request.getFunction());
    response.setToken(token);
    response.setResultCode(code);
    response.setMessageID(request.getMessageID());
}

int M2MClientHandler::sendText(const std::string& text, int fd, const char* operation, LeastWritten least) {
    if (socketWriteWrapper(fd, text.data(), static_cast<int>(text.size())) >= static_cast<int>(least))
        return result::ok;
    error("m2mclienthandler->%s error sending json <%s> to socket <%d> with error: %s", operation, text.c_str(), fd,
          strerror(errno));
    return result::socketFailure;
}

int M2MClientHandler::announceAndSend(const std::string& text, int fd, const char* operation, LeastWritten least) {
    debug("m2mclienthandler->%s sending JSON response <%s> to file descriptor <%d>", operation, text.c_str(), fd);
    return sendText(text, fd, operation, least);
}
