// Connections as they are made, shaken hands on, read and written: no peer can hold them up, and their owner is known.
// That good handshakes work in both versions, resumed ones too, and what bad certificate files give, is seen from
// outside by the system tests.
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <future>
#include <string>

#include "cbase/cstylecode_sockets.h"
#include "cbase/descriptor.h"
#include "cbase/timedio.h"
#include "support/catching.h"

namespace {

using std::chrono::milliseconds;
using timedio::deadline_in;

const std::string large(30'000'000, 'x');  // more than the kernel takes when nobody reads

TEST(Sockets, RefuseWhatIsNoPortInsteadOfWrappingRound) {
    for (const int port : {-1, 65536, 65536 + 8080}) {
        EXPECT_EQ(messages_of([port] { EXPECT_EQ(make_internet_socket(port, 1), -1); }),
                  Texts{"Cstylecode->make_internet_socket bind failed with error 'Invalid argument'"});
        EXPECT_EQ(messages_of([port] { EXPECT_EQ(make_internettcpclient_socket("127.0.0.1", port), -1); }).size(), 1U);
    }
}

TEST(Sockets, LocalListenerReplacesAStaleFileAndIsOpenToAll) {
    const std::string path = own_path(std::string(200, 'l'));
    const std::string cut = path.substr(0, 107);
    std::ofstream(cut) << "stale";
    const Descriptor listener(make_local_socket(path.c_str(), 1));
    struct stat status {};
    ASSERT_EQ(stat(cut.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFSOCK | 0777));
    EXPECT_TRUE(Descriptor(make_localtcpclient_socket(path.c_str())).valid());
}

TEST(Sockets, ConnectGivesUpAtItsTimeout) {
    int port = 0;
    int reason = 0;
    const Descriptor listener(make_internet_socket_randomport(&port, 0));
    const Descriptor queued(make_internettcpclient_socket("127.0.0.1", port));  // the queue is full with it
    messages_of([&] { make_internettcpclient_socket("127.0.0.1", port, milliseconds(50)), reason = errno; });
    EXPECT_EQ(reason, ETIMEDOUT);
}

// Connected to each other.
class TimedIo : public testing::Test {
  protected:
    int port = 0;
    Descriptor listener{make_internet_socket_randomport(&port, 1)};
    Descriptor theirs{make_internettcpclient_socket("127.0.0.1", port)};
    Descriptor ours{timedio::accept_connection(listener.get())};
};

TEST_F(TimedIo, ReceiveEndsAtItsDeadlineAndNotAtASignal) {
    signal(SIGALRM, [](int) {});
    const itimerval every5ms{{0, 5000}, {0, 5000}};
    const itimerval never{};
    setitimer(ITIMER_REAL, &every5ms, nullptr);
    const auto end = deadline_in(milliseconds(60));
    char byte = 0;
    EXPECT_EQ(timedio::receive(ours.get(), &byte, 1, end), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_GE(timedio::Clock::now(), end);
    setitimer(ITIMER_REAL, &never, nullptr);
    send_pieces(theirs.get(), {"x"});
    EXPECT_EQ(timedio::receive(ours.get(), &byte, 1, end), -1);  // nor is one served for ever that never stops sending
    EXPECT_EQ(timedio::receive(ours.get(), &byte, 1, deadline_in(timedio::peerTimeout)), 1);
}

TEST_F(TimedIo, SendDeliversAllToASlowReaderAndGivesUpOnOneThatStopped) {
    EXPECT_EQ(timedio::send_all(ours.get(), large.data(), large.size(), deadline_in(milliseconds(30))), -1);
    EXPECT_EQ(errno, EAGAIN);
    auto reading = std::async(std::launch::async, [this] {
        std::array<char, 10'000> block;
        std::size_t read = 0;
        for (ssize_t count = 1; (count = recv(theirs.get(), block.data(), block.size(), 0)) > 0;)
            read += static_cast<std::size_t>(count);
        return read;
    });
    EXPECT_EQ(timedio::send_all(ours.get(), large.data(), large.size(), deadline_in(timedio::peerTimeout)), 30'000'000);
    ours.reset();
    EXPECT_GT(reading.get(), large.size());  // with what went before
}

// The connection waits in the queue and stays readable, so a loop around would spin.
TEST_F(TimedIo, AcceptingWithoutADescriptorLeftTakesAWhile) {
    theirs.reset(make_internettcpclient_socket("127.0.0.1", port));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{1, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const auto begin = timedio::Clock::now();
    const int refused = timedio::accept_connection(listener.get());
    const int reason = errno;
    const auto end = timedio::Clock::now();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(refused, -1);
    EXPECT_EQ(reason, EMFILE);
    EXPECT_GE(end - begin, milliseconds(100));
    EXPECT_TRUE(Descriptor(timedio::accept_connection(listener.get())).valid());
}

// Closing with unread bytes would reset the connection and could destroy what was just written.
TEST_F(TimedIo, ClosingEndsTheConnectionInOrderWithUnreadBytesInIt) {
    send_pieces(theirs.get(), {std::string(20'000, 'u')});
    for (int held = 0; held < 20'000;) ASSERT_EQ(ioctl(ours.get(), FIONREAD, &held), 0);
    send_pieces(ours.get(), {"answer"});
    timedio::close_connection(ours.release());
    char answer[16];
    EXPECT_EQ(recv(theirs.get(), answer, sizeof answer, 0), 6);
    EXPECT_EQ(recv(theirs.get(), answer, sizeof answer, 0), 0);
}

}  // namespace
