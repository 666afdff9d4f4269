// What the process shares with the machine, here a sandbox: the system log at /dev/log, a console that nobody reads,
// and the network on eth0.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <limits>
#include <memory>
#include <thread>

#include "cbase/cstylecode_identity.h"
#include "cbase/cstylecode_sockets.h"
#include "cbase/cstylecode_tls.h"
#include "cbase/descriptor.h"
#include "cbase/logging.h"
#include "cbase/m2mutil.h"
#include "cbase/memory.h"
#include "gateway/gtwsignals.h"
#include "support/catching.h"

namespace {

// What `action` adds to the system log, a text "severity message" each, in order.
Texts logged_by(const std::function<void()>& action) {
    std::ifstream log("/tmp/system.log");
    log.ignore(std::numeric_limits<std::streamsize>::max());
    console_of([&action] { openlogfile(), action(), syslog(LOG_INFO, "end of action"); });
    Texts messages;
    for (std::string line; messages.empty() || messages.back() != "info end of action";) {
        for (; !std::getline(log, line); std::this_thread::yield()) log.clear();  // not written yet
        const std::size_t severity = line.find('.') + 1;
        messages.push_back(line.substr(severity, line.find(' ') + 1 - severity) + line.substr(line.find("]: ") + 3));
    }
    messages.pop_back();
    return messages;
}

TEST(SystemLog, GetsASecondExpansionOfWhatIsDefinedAndNothingElse) {
    const std::string x(1022, 'x');
    const Texts messages = logged_by([&x] {
        errno = ENOENT;
        error("%s", "100%% and %m of %s%n%5d%");
        warning("%%%%"), debug("%s", "%%s"), verbose_debug("%%m"), info("console only"), logged_info("nowhere");
        for (const char* end : {"%sabc", "ab"}) error("%s%s", x.c_str(), end);  // cut at 1023 characters
    });
    EXPECT_EQ(messages, (Texts{"err 100% and No such file or directory of %s%n%5d%", "warning %", "debug %s",
                               "debug No such file or directory", "err " + x + "%", "err " + x + "a"}));
}

// A handler's message may come while the interrupted code is inside syslog, whose lock does not nest.
TEST(SystemLog, SurvivesAStormOfSignalsWhoseHandlerLogs) {
    std::string reason;
    ASSERT_TRUE(gtwhandlernamespace::install_signal_handlers(reason)) << reason;
    Texts expected;
    for (int i = 0; i < 2000; ++i) expected.push_back("err own " + std::to_string(i));
    std::atomic<bool> done = false;
    std::thread storm([&done, target = pthread_self()] {
        for (; !done; std::this_thread::yield()) pthread_kill(target, SIGCHLD);
    });
    Texts messages = logged_by([&done] {
        for (int i = 0; i < 2000; ++i) error("own %d", i);
        done = true;
    });
    storm.join();
    EXPECT_GT(std::erase_if(messages, [](auto& text) { return text.starts_with("err gtwhandler->gtwHandlerSigchld"); }),
              0U);
    EXPECT_EQ(messages, expected);
}

// In a process of its own, since a process opens its console once.
TEST(Console, AReaderThatNeverReadsCostsOneSecondInAll) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor reader(ends[0]);
    std::string heard(1 << 20, '\0');
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        openlogfile();
        alarm(5);
        for (int i = 0; i < 1000; ++i) error("%s", std::string(1000, 'x').c_str());
        const bool written = read(reader.get(), heard.data(), heard.size()) > 0;
        error("reads again");
        _exit(written ? 0 : 1);
    }
    close(ends[1]);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    heard.resize(static_cast<std::size_t>(read(reader.get(), heard.data(), heard.size())));
    EXPECT_NE(heard.find("reads again"), std::string::npos);
}

TEST(Network, IdentityIsThatOfEth0) {
    char* text = nullptr;
    EXPECT_EQ(getlocalmac(&text), 0);
    EXPECT_STREQ(XText(text).get(), "02:11:22:33:44:55");
    EXPECT_EQ(getlocalip(&text), 0);
    EXPECT_STREQ(XText(text).get(), "192.0.2.1");
    unsigned char* raw = nullptr;
    ASSERT_EQ(getlocalrawmac(&raw), 0);
    EXPECT_STREQ(XText(convert_bytearraytohexstring(raw, 6)).get(), "021122334455");
    xfree(raw);
}

// Clients that take no tickets are remembered here, and a flood of them must not fill the memory.
TEST(Network, ServerKeeps32SessionsBesidesTickets) {
    const SslContext server(init_SSLsocket_server_context("/web/key/m2mserver.pem", "/web/key/m2mserver.key"));
    const SslContext client(init_SSLsocket_client_context());
    SSL_CTX_set_max_proto_version(client.get(), TLS1_2_VERSION);
    SSL_CTX_set_options(client.get(), SSL_OP_NO_TICKET);
    for (int i = 0; i < 40; ++i) {
        const std::unique_ptr<SSL, decltype(&SSL_free)> ends[] = {{SSL_new(client.get()), SSL_free},
                                                                  {SSL_new(server.get()), SSL_free}};
        BIO* wires[2] = {};
        ASSERT_EQ(BIO_new_bio_pair(&wires[0], 0, &wires[1], 0), 1);
        for (const int end : {0, 1}) SSL_set_bio(ends[end].get(), wires[end], wires[end]);
        SSL_set_connect_state(ends[0].get());
        SSL_set_accept_state(ends[1].get());
        for (int flight = 0; flight < 8; ++flight) SSL_do_handshake(ends[flight % 2].get());
        ASSERT_EQ(SSL_is_init_finished(ends[1].get()), 1);
        for (const auto& end : ends) SSL_shutdown(end.get());
    }
    EXPECT_LE(SSL_CTX_sess_number(server.get()), 32);
    EXPECT_GE(SSL_CTX_sess_number(server.get()), 31);  // the library makes room before it adds one
}

TEST(Network, SearchesComeBackOnlyWhenLooped) {
    const Descriptor incoming(make_localudpclient_socket_incoming("239.192.39.238", 45222));
    const Descriptor silent(m2m_makesendingsearchsocket());
    const Descriptor looped(make_localudpclient_socket_outgoing("", 0, 3, 1));
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(45222);
    to.sin_addr.s_addr = inet_addr("239.192.39.238");
    for (const auto& [fd, text] : {std::pair{silent.get(), "silent"}, {looped.get(), "looped"}})
        ASSERT_EQ(sendto(fd, text, 6, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to), 6);
    char received[16] = {};
    EXPECT_EQ(recv(incoming.get(), received, sizeof received, 0), 6);
    EXPECT_STREQ(received, "looped");
}

}  // namespace
