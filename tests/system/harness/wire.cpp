#include "harness/wire.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <vector>

namespace harness {

namespace {

std::string envelope(const std::string& type, const std::string& function, const std::string& source,
                     const std::string& target, const std::string& token, const std::string& messageId) {
    return R"({"type":")" + type + R"(","function":")" + function + R"(","source":")" + source + R"(","target":")" +
           target + R"(","token":")" + token + R"(","msg_id":")" + messageId + R"(")";
}

std::string ending(const std::string& members) {
    return (members.empty() ? "" : ",") + members + "}";
}

}  // namespace

neighbour::Descriptor dial(int port, int receiveBuffer) {
    neighbour::Descriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    constexpr timeval patience{60, 0};
    setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (receiveBuffer > 0) setsockopt(connection.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(connection.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw std::system_error(errno, std::generic_category(), "connect to port " + std::to_string(port));
    return connection;
}

void sendBytes(const neighbour::Descriptor& connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

std::string readAll(const neighbour::Descriptor& connection) {
    std::string all;
    std::array<char, 65536> buffer{};
    for (ssize_t got = 0; (got = recv(connection.get(), buffer.data(), buffer.size(), 0)) > 0;)
        all.append(buffer.data(), static_cast<std::size_t>(got));
    return all;
}

void reset(neighbour::Descriptor connection) {
    constexpr linger atOnce{1, 0};
    setsockopt(connection.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

neighbour::Exchange exchange(int port, bool tls, std::string_view bytes) {
    neighbour::Settings settings;
    settings.port = static_cast<uint16_t>(port);
    settings.tls.enabled = tls;
    settings.timeoutSeconds = 60;
    return neighbour::exchange(settings, bytes);
}

neighbour::Connection talk(int port, bool tls, int receiveBuffer) {
    std::string problem;
    const auto context = tls ? neighbour::make_client_context({}, problem) : nullptr;
    neighbour::Connection connection(dial(port, receiveBuffer), context.get());
    if (!connection.connectTls(soon())) throw std::runtime_error(connection.problem());
    return connection;
}

neighbour::Listener listenAt(int port, bool tls) {
    neighbour::TlsSettings settings;
    settings.enabled = tls;
    std::string problem;
    auto listener = neighbour::Listener::open(static_cast<uint16_t>(port), settings, problem);
    if (!listener) throw std::runtime_error(problem);
    return std::move(*listener);
}

neighbour::ContextPointer serverContext(const std::string& version) {
    neighbour::TlsSettings settings;
    settings.version = version;
    std::string problem;
    return neighbour::make_server_context(settings, problem);
}

neighbour::Deadline soon() {
    return neighbour::Deadline(std::chrono::seconds(60));
}

std::string request(const std::string& function, const std::string& token, const std::string& members,
                    const std::string& uid) {
    return envelope("request", function, uid, ourUid, token, "m1") + ending(members);
}

std::string response(const std::string& function, int code, const std::string& token, const std::string& members,
                     const std::string& uid, const std::string& messageId) {
    return envelope("response", function, ourUid, uid, token, messageId) + R"(,"result":)" + std::to_string(code) +
           ending(members);
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

std::string Attach::text() const {
    return request("attach", "",
                   R"("clienttag":"house","username":")" + user + R"(","password":")" + password +
                       R"(","manufacturertag":"lab","softwareversion":"1.0","protocolversion":1,"ipaddress":")" +
                       address + R"(","ipport":)" + std::to_string(port) + R"(,"options":{})" + mode,
                   uid);
}

std::string coreCall(const std::string& object, const std::string& action, const std::string& value) {
    std::string text = "Request: SERVICE_RUNONELEMENT\nParameter Count: 6\n";
    const std::array<std::string, 6> parameters{object, "NO-VALUE", action, value, "NO-VALUE", ""};
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const std::string tag = "Param00" + std::to_string(i);
        text += tag + " Length: " + std::to_string(parameters.at(i).size()) + "\n";
        if (!parameters.at(i).empty()) text += tag + ": \n" + parameters.at(i) + "\n";
    }
    return text + "Waittime: 5\n\n";
}

}  // namespace harness
