// What the command line says about every command: whom to talk to, how, as whom, and how to print. Filled by main,
// read by all.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace neighbour {

struct TlsSettings {
    bool enabled = true;
    std::string version;          // "1.2", "1.3", or empty for whatever both ends can do
    std::string resumeFile;       // keeps a session between runs; empty: full handshakes
    std::string certificateFile;  // of the listening side; empty: one is made in memory
    std::string keyFile;
};

struct Settings {
    std::string host = "127.0.0.1";
    std::uint16_t port = 45200;
    TlsSettings tls;
    std::optional<std::string> uid;
    std::optional<std::string> target;
    std::optional<std::string> token;
    std::string stateFile;  // empty: the default for host and port
    bool raw = false;
    bool show = false;
    double timeoutSeconds = 40;

    std::chrono::milliseconds timeout() const {
        return std::chrono::milliseconds(static_cast<std::int64_t>(timeoutSeconds * 1000));
    }
};

}  // namespace neighbour
