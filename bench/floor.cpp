// The floor: a program that makes only the system calls which the same work cannot do without: accept, handshake, one
// read, as many fresh connections to the same DBManager, one write, close. It understands nothing of what it carries:
// the statements and the answer are those that the real program was seen to send. What the real program needs beyond
// this is its own doing, and their ratio is a figure that holds on any machine.
//
// With --log it also says what the real program said: the lines go to the console and, where the program's did, to the
// system log. That is the floor of a program whose log lines are a promise.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "cbase/descriptor.h"

namespace {

constexpr int dbPort = 45168;

struct ContextFree {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
struct TlsFree {
    void operator()(SSL* tls) const { SSL_free(tls); }
};
using Context = std::unique_ptr<SSL_CTX, ContextFree>;

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

// One line of DBManager's journal as the request that it was.
std::string request_of(const std::string& line) {
    const std::size_t tab = line.find('\t');
    std::string statement;
    for (std::size_t i = tab + 1; i < line.size(); ++i) {
        if (line[i] != '\\' || i + 1 == line.size()) {
            statement += line[i];
            continue;
        }
        const char escaped = line[++i];
        statement += escaped == 'n' ? '\n' : escaped == 't' ? '\t' : escaped;
    }
    return "Request: DML-SQL\nType: " + line.substr(0, tab) +
           "\nStatement payload length: " + std::to_string(statement.size()) + "\nStatement: " + statement + "\n\n";
}

void ask_database(const std::string& request) {
    const Descriptor fd(socket(AF_INET, SOCK_STREAM, 0));
    const sockaddr_in address = loopback(dbPort);
    if (connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return;
    if (send(fd.get(), request.data(), request.size(), 0) < 0) return;
    std::array<char, 16384> chunk;
    std::string answer;
    for (;;) {
        const ssize_t got = recv(fd.get(), chunk.data(), chunk.size(), 0);
        if (got <= 0) return;
        answer.append(chunk.data(), static_cast<std::size_t>(got));
        const std::size_t line = answer.find('\n');
        if (line == std::string::npos) continue;
        const std::size_t announced = std::stoul(answer.substr(answer.find(':') + 1));
        if (answer.size() - line - 1 >= announced) return;
    }
}

// What the program logs with a level has a bold coloured head; all else is for the console only.
void say(const std::string& line) {
    if (write(STDOUT_FILENO, line.data(), line.size()) < 0) return;
    if (line.starts_with("\033[1;3") && !line.starts_with("\033[1;30m"))
        syslog(LOG_LOCAL0 | LOG_DEBUG, "%s", line.c_str());
}

// What each datagram costs: the statements, the answer, and the lines of the log.
struct Work {
    std::vector<std::string> requests;
    std::string answer;
    std::vector<std::string> log;
};

void serve(int listener, SSL_CTX* context, const Work& work) {
    const Descriptor fd(accept(listener, nullptr, nullptr));
    if (!fd.valid()) return;
    std::array<char, 65536> buffer;
    const int on = 1;
    std::unique_ptr<SSL, TlsFree> tls;
    if (context != nullptr) {
        tls.reset(SSL_new(context));
        SSL_set_fd(tls.get(), fd.get());
        setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (SSL_accept(tls.get()) != 1) return;
        setsockopt(fd.get(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
    }
    const auto got = tls ? SSL_read(tls.get(), buffer.data(), static_cast<int>(buffer.size()))
                         : static_cast<int>(recv(fd.get(), buffer.data(), buffer.size(), 0));
    if (got <= 0) return;
    if (!work.log.empty()) say(work.log.front());
    for (const std::string& request : work.requests) ask_database(request);
    for (std::size_t i = 1; i < work.log.size(); ++i) say(work.log[i]);
    if (tls) {
        SSL_write(tls.get(), work.answer.data(), static_cast<int>(work.answer.size()));
        SSL_shutdown(tls.get());
    } else if (send(fd.get(), work.answer.data(), work.answer.size(), 0) < 0) {
        return;
    }
    shutdown(fd.get(), SHUT_RDWR);
}

}  // namespace

int main(int argc, char** argv) {
    int port = 0;
    std::string statementsFile;
    std::string answerFile;
    std::string logFile;
    std::string certificate;
    std::string key;
    CLI::App app("The least that answering a datagram costs");
    app.add_option("--port", port, "Listen on this port")->required();
    app.add_option("--statements", statementsFile, "Lines of DBManager's journal, sent for each datagram")->required();
    app.add_option("--answer", answerFile, "The answer to each datagram")->required();
    app.add_option("--log", logFile, "Lines to log for each datagram");
    app.add_option("--certificate", certificate, "Speak TLS with this certificate");
    app.add_option("--key", key, "and this key");
    CLI11_PARSE(app, argc, argv);

    Work work;
    std::ifstream statements(statementsFile);
    for (std::string line; std::getline(statements, line);) work.requests.push_back(request_of(line));
    std::ifstream answers(answerFile);
    work.answer.assign(std::istreambuf_iterator<char>(answers), std::istreambuf_iterator<char>());
    std::ifstream log(logFile);
    for (std::string line; std::getline(log, line);) work.log.push_back(line + '\n');
    openlog(nullptr, LOG_PID, LOG_LOCAL0);

    Context context;
    if (!certificate.empty()) {
        context.reset(SSL_CTX_new(TLS_method()));
        if (SSL_CTX_use_certificate_chain_file(context.get(), certificate.c_str()) != 1 ||
            SSL_CTX_use_PrivateKey_file(context.get(), key.c_str(), SSL_FILETYPE_PEM) != 1) {
            std::cerr << "floor: certificate or key cannot be used\n";
            return 1;
        }
    }
    const Descriptor listener(socket(AF_INET, SOCK_STREAM, 0));
    const int on = 1;
    setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in address = loopback(port);
    if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener.get(), 64) != 0) {
        std::cerr << "floor: port " << port << " cannot be used\n";
        return 1;
    }
    for (;;) serve(listener.get(), context.get(), work);
}
