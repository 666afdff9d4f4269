// The load driver: sends one datagram over and over, each on a connection of its own, checks each answer, and prints
// one line of figures: name, answers per second, median and 99th percentile in microseconds, CPU time of the server per
// answer in microseconds, its resident memory in kilobytes, bytes of the answer. One connection at a time: the server
// has one thread, so more would only measure the queue.
//
// With --core it makes calls like the core's on the commands endpoint instead, and an answer is the datagram that the
// neighbour then gets on --listen.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cbase/descriptor.h"

namespace {

using Clock = std::chrono::steady_clock;

struct ContextFree {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
struct TlsFree {
    void operator()(SSL* tls) const { SSL_free(tls); }
};
struct SessionFree {
    void operator()(SSL_SESSION* session) const { SSL_SESSION_free(session); }
};

struct Options {
    std::string name;
    int port = 0;
    int pid = 0;
    int listenPort = 0;
    long count = 0;
    double seconds = 0;
    std::string tls;
    bool resume = false;
    bool core = false;
    std::string expected = "\"result\":0";
    std::string request;
    std::string answerFile;
};

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

Descriptor connected(int port) {
    Descriptor fd(socket(AF_INET, SOCK_STREAM, 0));
    const sockaddr_in address = loopback(port);
    const int on = 1;
    setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) fd.reset();
    return fd;
}

std::string read_to_end(int fd, SSL* tls) {
    std::string text;
    std::array<char, 65536> chunk;
    for (;;) {
        const ssize_t got = tls != nullptr ? SSL_read(tls, chunk.data(), static_cast<int>(chunk.size()))
                                           : recv(fd, chunk.data(), chunk.size(), 0);
        if (got <= 0) return text;
        text.append(chunk.data(), static_cast<std::size_t>(got));
    }
}

class Driver {
  public:
    explicit Driver(const Options& options) : options_(options) {
        if (!options.tls.empty()) {
            context_.reset(SSL_CTX_new(TLS_client_method()));
            const int version = options.tls == "1.2" ? TLS1_2_VERSION : TLS1_3_VERSION;
            SSL_CTX_set_min_proto_version(context_.get(), version);
            SSL_CTX_set_max_proto_version(context_.get(), version);
        }
        if (options.core) {
            listener_.reset(socket(AF_INET, SOCK_STREAM, 0));
            const int on = 1;
            setsockopt(listener_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
            const sockaddr_in address = loopback(options.listenPort);
            if (bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
                listen(listener_.get(), 64) != 0)
                throw std::runtime_error("the port to listen on cannot be used");
        }
    }

    // One exchange: the answer, empty when there was none.
    std::string once() { return options_.core ? call() : ask(); }
    long resumed() const { return resumed_; }

  private:
    std::string ask() {
        const Descriptor fd = connected(options_.port);
        if (!fd.valid()) return {};
        if (!context_) {
            if (send(fd.get(), options_.request.data(), options_.request.size(), MSG_NOSIGNAL) < 0) return {};
            return read_to_end(fd.get(), nullptr);
        }
        const std::unique_ptr<SSL, TlsFree> tls(SSL_new(context_.get()));
        SSL_set_fd(tls.get(), fd.get());
        if (options_.resume && session_) SSL_set_session(tls.get(), session_.get());
        if (SSL_connect(tls.get()) != 1) return {};
        resumed_ += SSL_session_reused(tls.get());
        SSL_write(tls.get(), options_.request.data(), static_cast<int>(options_.request.size()));
        std::string answer = read_to_end(fd.get(), tls.get());
        if (options_.resume) session_.reset(SSL_get1_session(tls.get()));
        SSL_shutdown(tls.get());
        return answer;
    }

    std::string call() {
        {
            const Descriptor fd = connected(options_.port);
            if (!fd.valid()) return {};
            if (send(fd.get(), options_.request.data(), options_.request.size(), MSG_NOSIGNAL) < 0) return {};
            if (read_to_end(fd.get(), nullptr).empty()) return {};
        }
        const Descriptor fd(accept(listener_.get(), nullptr, nullptr));
        return fd.valid() ? read_to_end(fd.get(), nullptr) : std::string();
    }

    const Options& options_;
    std::unique_ptr<SSL_CTX, ContextFree> context_;
    std::unique_ptr<SSL_SESSION, SessionFree> session_;
    Descriptor listener_;
    long resumed_ = 0;
};

// CPU time that a process has used so far, in microseconds.
double cpu_time(int pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/schedstat");  // nanoseconds on the CPU
    double nanoseconds = 0;
    stat >> nanoseconds;
    return nanoseconds / 1000;
}

long resident_kilobytes(int pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string word; status >> word;)
        if (word == "VmRSS:") {
            long kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    return 0;
}

std::string file_text(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int run(const Options& options) {
    Driver driver(options);
    constexpr int warmUp = 5;
    std::string answer;
    for (int i = 0; i < warmUp; ++i) answer = driver.once();
    if (answer.find(options.expected) == std::string::npos) {
        std::cerr << "load: " << options.name << ": unexpected answer <" << answer.substr(0, 200) << ">\n";
        return 1;
    }
    if (!options.answerFile.empty()) std::ofstream(options.answerFile) << answer;

    std::vector<double> times;
    const double cpuBefore = cpu_time(options.pid);
    const long resumedBefore = driver.resumed();
    const auto start = Clock::now();
    double elapsed = 0;
    while (static_cast<long>(times.size()) < options.count && (options.seconds <= 0 || elapsed < options.seconds)) {
        const auto before = Clock::now();
        answer = driver.once();
        const auto after = Clock::now();
        if (answer.find(options.expected) == std::string::npos) {
            std::cerr << "load: " << options.name << ": answer " << times.size() << " was <" << answer.substr(0, 200)
                      << ">\n";
            return 1;
        }
        times.push_back(std::chrono::duration<double, std::micro>(after - before).count());
        elapsed = std::chrono::duration<double>(after - start).count();
    }
    const auto count = static_cast<double>(times.size());
    if (options.resume && driver.resumed() - resumedBefore != static_cast<long>(times.size())) {
        std::cerr << "load: " << options.name << ": not all sessions were resumed\n";
        return 1;
    }
    std::sort(times.begin(), times.end());
    std::cout << options.name << ',' << count / elapsed << ',' << times[times.size() / 2] << ','
              << times[times.size() * 99 / 100] << ',' << (cpu_time(options.pid) - cpuBefore) / count << ','
              << resident_kilobytes(options.pid) << ',' << answer.size() << '\n';
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    std::string requestFile;
    CLI::App app("Sends a datagram over and over and measures the answers");
    app.add_option("--name", options.name, "First column of the line printed")->required();
    app.add_option("--port", options.port, "Port of the server")->required();
    app.add_option("--pid", options.pid, "Process whose CPU time and memory are read")->required();
    app.add_option("--request", requestFile, "File with the datagram or call")->required();
    app.add_option("--count", options.count, "Answers to wait for")->required();
    app.add_option("--seconds", options.seconds, "Stop after this time");
    app.add_option("--tls", options.tls, "TLS version, 1.2 or 1.3; plain TCP without it");
    app.add_flag("--resume", options.resume, "Resume the session of the exchange before");
    app.add_flag("--core", options.core, "Call the commands endpoint; the answer comes on --listen");
    app.add_option("--listen", options.listenPort, "Port for the datagrams that follow calls");
    app.add_option("--expect", options.expected, "Text that each answer must hold");
    app.add_option("--save-answer", options.answerFile, "Write one answer to this file");
    CLI11_PARSE(app, argc, argv);
    options.request = file_text(requestFile);
    try {
        return run(options);
    } catch (const std::exception& problem) {
        std::cerr << "load: " << problem.what() << '\n';
        return 1;
    }
}
