// The session with the one neighbour that this process serves: all that is known about it, the socket on which it sends
// its datagrams, and what is done with each of them. The gateway loop calls it when the neighbour connects and when the
// core reports a change.
//
// One class in four sources: the session itself (m2mclienthandler.cpp), attach and detach (_attach), the requests about
// objects (_objects), and what this process sends on its own account (_notify).
#pragma once

#include <list>
#include <memory>
#include <optional>
#include <string>

#include "cbase/cstylecode_tls.h"
#include "gateway/gtwbaseclass.h"
#include "m2m/datagrams/datagram.h"
#include "m2m/m2mscriptrunner.h"
#include "model/m2mclientbrowser.h"
#include "model/m2mneighbour.h"

class M2MAttachRequestDatagram;
class M2MDetachRequestDatagram;
class M2MDiscoveryRequestDatagram;
class M2MDoActionRequestDatagram;
class M2MGetStatusRequestDatagram;
class M2MRegisterRequestDatagram;
class M2MUnregisterRequestDatagram;

class M2MClientHandler : public gtwbasenamespace::GtwBaseClass {
  public:
    using GtwHandler = gtwhandlernamespace::GtwHandler;
    using CallFromCoreParameters = callfromcoreparametersnamespace::CallFromCoreParameters;

    // A session that knows nothing and listens nowhere.
    M2MClientHandler() = default;
    // The session that the command line asks for; test getListeningSocket() afterwards.
    M2MClientHandler(int argc, char** argv);
    // A session like the default one: sockets and TLS sessions cannot be shared.
    M2MClientHandler(const M2MClientHandler& other);
    M2MClientHandler& operator=(const M2MClientHandler&) = delete;
    ~M2MClientHandler() override;

    // --- Called by the gateway loop

    // A call from the core; only "CHANGESTATUS" is known. 10 when there is no attached neighbour, 2 for another
    // request, else the code of changeStatus.
    int didReceiveCallFromCore(GtwHandler* gateway, CallFromCoreParameters* call) override;
    // Serves one connection with one datagram on the listening socket `listener`. The handler's code; 2 for an unknown
    // function or a response, 3 for a read error, 6 for a failed accept, a peer without data or a failed reply, 10 when
    // nothing was handled, 39 after a clear-all detach.
    int didReceiveCustomGatewayData(GtwHandler* gateway, int listener) override;

    // --- Called by the main loop

    // Whether the neighbour's attachment has run out. Nothing expires at present.
    bool checkNeighbourExpire() const { return false; }
    // Deletes runner, neighbour and client browser with its relations from the database and drops them. Returns 0.
    int deleteFromDB();

    // --- Requests; `request` is borrowed, the response is written to `fd`, the code goes back to the loop

    int handleAttachRequest(M2MAttachRequestDatagram* request, int fd);
    int handleDetachRequest(M2MDetachRequestDatagram* request, int fd);
    int handleDiscoveryRequest(M2MDiscoveryRequestDatagram* request, int fd);
    int handleRegisterRequest(M2MRegisterRequestDatagram* request, int fd);
    int handleUnregisterRequest(M2MUnregisterRequestDatagram* request, int fd);
    int handleGetStatusRequest(M2MGetStatusRequestDatagram* request, int fd);
    int handleDoActionRequest(M2MDoActionRequestDatagram* request, int fd);

    // --- Notifications

    // Tells the neighbour the current values of objects. 10 when sent, 6 when not, 16 without a stored neighbour.
    int changeStatus(const std::list<long>* objectIDs);
    // Withdraws the neighbour's access and tells it so. Codes as above. Nothing calls it at present.
    int neighbourExpire(int reason);

    // --- Connections, with or without TLS

    // Accepts a connection: its descriptor, or -1 with errno set and nothing left open. From here on the neighbour has
    // 30 seconds for its handshake and its datagram.
    int socketAcceptWrapper(int listener);
    // Connects to a neighbour; like socketAcceptWrapper.
    int socketConnectWrapper(const std::string& address, int port);
    // One read or write on a connection of the wrappers: bytes, 0 when the peer has ended it or, after logging, when
    // the descriptor has no TLS session, -1 with errno set.
    int socketReadWrapper(int fd, void* buffer, int length);
    int socketWriteWrapper(int fd, const void* data, int length);
    // Ends the TLS session and closes the descriptor so that what was written reaches the peer.
    void socketCloseWrapper(int fd);

    // A message identifier: eight times the same character. Not unique, and possibly a control character.
    std::string generateNewMessageID() const;

    // --- Command line

    // Reads --first-run, --listen-for-attach-on-port PORT, --id ID and --noSSL; skips what it does not know.
    void searchParametersFromArgument(int argc, char** argv);

    // --- Attributes; pointers are borrowed from this object, setters copy records and take over TLS objects

    bool getFirstRun() const { return firstRun_; }
    void setFirstRun(bool firstRun) { firstRun_ = firstRun; }
    int getListeningSocket() const { return listeningSocket_; }
    // Takes over `fd` and closes the socket held.
    void setListeningSocket(int fd);
    int getPort() const { return port_; }
    void setPort(int port) { port_ = port; }
    M2MScriptRunner* getRunner() const { return runner_.get(); }
    // Loads the runner from the database; a negative ID drops the one held.
    void setRunner(int id);
    M2MNeighbour* getNeighbour() const { return neighbour_.get(); }
    void setNeighbour(const M2MNeighbour* neighbour);
    M2MClientBrowser* getClientBrowser() const { return clientBrowser_.get(); }
    void setClientBrowser(const M2MClientBrowser* clientBrowser);
    bool isSSLEnabled() const { return sslEnabled_; }
    void setSSLEnable(bool enabled) { sslEnabled_ = enabled; }
    SSL_CTX* getSSLServerContext() const { return sslServerContext_.get(); }
    void setSSLServerContext(SSL_CTX* context) { sslServerContext_.reset(context); }
    SSL_CTX* getSSLClientContext() const { return sslClientContext_.get(); }
    void setSSLClientContext(SSL_CTX* context);
    SSL* getSSLServerSession() const { return sslServerSession_.get(); }
    void setSSLServerSession(SSL* session) { sslServerSession_.reset(session); }
    SSL* getSSLClientSession() const { return sslClientSession_.get(); }
    void setSSLClientSession(SSL* session) { sslClientSession_.reset(session); }
    // Seconds since the epoch.
    long getCreationTimestamp() const { return creationTimestamp_; }
    void setCreationTimestamp(long timestamp) { creationTimestamp_ = timestamp; }
    // Whether a valid attach is on record for this runner.
    bool validAttachIsArrived() const { return attachArrived_; }
    void setAttachArrived(bool arrived) { attachArrived_ = arrived; }
    // This controller's identity in datagrams.
    std::string getSourceUID() const { return sourceUID_; }
    void setSourceUID(std::string uid) { sourceUID_ = std::move(uid); }

  private:
    // Ends a session with a close notification before freeing it.
    struct SessionEnd {
        void operator()(SSL* session) const;
    };
    using Session = std::unique_ptr<SSL, SessionEnd>;

    // How many bytes a write must at least return to count as done. Some replies are held to more than others.
    enum LeastWritten { atLeastNothing = 0, atLeastOneByte = 1 };

    // What one connection has led to.
    struct Intake {
        int result;
        std::optional<M2MResponseDatagram> errorReply;
        bool clearAll = false;  // a detach that ends this runner
    };
    struct Function;
    static const Function functions[];

    void setUpNeighbour();
    void setUpSSL();
    std::optional<std::string> receiveDatagram(int fd, Intake& intake);
    void dispatch(const std::string& text, int fd, Intake& intake);
    void reject(const M2MDatagram& datagram, Intake& intake) const;

    long neighbourID() const { return neighbour_ ? neighbour_->getID() : -1; }
    std::string currentToken() const { return clientBrowser_ ? clientBrowser_->getToken() : std::string(); }
    // Whether a request with this token comes from the attached neighbour; logs the refusal in the handler's name if
    // not.
    bool authorise(const std::string& token, const char* operation) const;

    bool attachIsAllowed(const std::string& sourceUID) const;
    int saveAttachingNeighbour(const M2MAttachRequestDatagram& request, long now);
    void findClientBrowser(const M2MAttachRequestDatagram& request);
    void bindToNeighbour();
    int performActions(const M2MDoActionRequestDatagram& request) const;
    // The TLS session of a descriptor, the server's before the client's, or null.
    SSL* sessionOf(int fd) const;

    // Fills the envelope of the response to `request`.
    void addressResponse(M2MResponseDatagram& response, const M2MDatagram& request, const std::string& token,
                         int code) const;
    // Writes a datagram's text in one piece. Returns 0, or 6 after logging.
    int sendText(const std::string& text, int fd, const char* operation, LeastWritten least);
    // The same, logging the text first.
    int announceAndSend(const std::string& text, int fd, const char* operation, LeastWritten least);
    // Connects to the neighbour, sends one text and closes. 10, or 6 after logging.
    int notifyNeighbour(const std::string& text, const char* operation);

    int listeningSocket_ = -1;
    int port_ = -1;
    bool firstRun_ = false;
    bool sslEnabled_ = true;
    std::unique_ptr<M2MNeighbour> neighbour_;
    std::unique_ptr<M2MScriptRunner> runner_;
    std::unique_ptr<M2MClientBrowser> clientBrowser_;
    SslContext sslServerContext_;
    SslContext sslClientContext_;
    Session sslServerSession_;
    Session sslClientSession_;
    std::string sourceUID_;
    long creationTimestamp_ = 0;
    bool attachArrived_ = false;
    timedio::Deadline readDeadline_;  // of the connection that was accepted or made last
};
