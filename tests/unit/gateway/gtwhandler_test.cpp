// The gateway loop with real sockets: what a cycle serves and returns.
#include "gateway/gtwhandler.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <string>
#include <thread>

#include "cbase/cstylecode_sockets.h"
#include "cbase/descriptor.h"
#include "gateway/callfromcoreparameters.h"
#include "support/catching.h"

namespace {

using callfromcoreparametersnamespace::CallFromCoreParameters;
using gtwhandlernamespace::GtwHandler;

// A gateway over a pipe. Writes down what the loop calls, and takes the byte that made its descriptor readable.
class Gateway : public gtwbasenamespace::GtwBaseClass {
  public:
    Gateway(std::string name, Texts& calls) : name_(std::move(name)), calls_(calls) { EXPECT_EQ(pipe(ends_), 0); }
    Gateway(const Gateway&) = delete;
    Gateway& operator=(const Gateway&) = delete;
    ~Gateway() override { close(ends_[0]), close(ends_[1]); }
    int didReceiveCallFromCore(GtwHandler*, CallFromCoreParameters* call) override {
        const std::unique_ptr<CallFromCoreParameters> copy(call->clone());
        calls_.push_back(name_ + " call " + std::to_string(copy->getObjectId()) + "," + copy->getArgument1() + "," +
                         copy->getAction() + "," + copy->getValue() + "," + copy->getArgument4() + "," +
                         copy->getArgument5());
        return 100;
    }
    int didReceiveCustomGatewayData(GtwHandler*, int fd) override {
        char byte = 0;
        EXPECT_EQ(read(fd, &byte, 1), 1);
        calls_.push_back(name_ + " data");
        return 200;
    }
    int fd() const { return ends_[0]; }
    void makeReadable() const { EXPECT_EQ(write(ends_[1], "x", 1), 1); }

  private:
    std::string name_;
    Texts& calls_;
    int ends_[2]{};
};

class Loop : public testing::Test {
  protected:
    Loop() {
        EXPECT_EQ(loop.initialize(), 0) << loop.getLastError();
        loop.addGateway(first.fd(), &first);
        loop.addGateway(second.fd(), &second);
        loop.setSelectTimeout(30, 0);
    }
    int turn() {
        calls.clear();
        EXPECT_EQ(loop.cleanup(), 0);
        return loop.run();
    }
    // Calls as the core and turns a cycle, which is to return `result`. What the core is answered.
    std::string call(const Texts& pieces, int result) {
        const Descriptor connection(make_localtcpclient_socket(path.c_str()));
        std::thread core([&] { send_pieces(connection.get(), pieces); });
        EXPECT_EQ(turn(), result) << pieces[0];
        core.join();
        char answer[256] = {};
        EXPECT_GE(recv(connection.get(), answer, sizeof answer, MSG_WAITALL), 0);
        return answer;
    }

    Texts calls;
    std::string path = own_path("commands.socket");
    Gateway first{"first", calls};
    Gateway second{"second", calls};
    GtwHandler loop{path.c_str(), 0, nullptr};
    const Texts change = cases(__FILE__, "change");
    const std::string done = "Response Status: FSMC-000\nParameter Count: 0\n\n";
};

TEST_F(Loop, ServesTheCoreFirstAndOneGatewayPerCycle) {
    first.makeReadable();
    second.makeReadable();
    EXPECT_EQ(call(change, 200), done);
    EXPECT_EQ(calls,
              (Texts{"first call 12,a,CHANGESTATUS,31,,z", "second call 12,a,CHANGESTATUS,31,,z", "first data"}));
    EXPECT_EQ(turn(), 200);
    EXPECT_EQ(calls, Texts{"second data"});
    EXPECT_EQ(call(cases(__FILE__, "change in pieces"), 100), done);
    EXPECT_EQ(loop.getLastEventKind(), GtwHandler::coreCallAnswered);
    loop.setSelectTimeout(0, 1000);
    EXPECT_EQ(turn(), 0);
    EXPECT_EQ(loop.getLastEventKind(), GtwHandler::selectTimedOut);
}

TEST_F(Loop, FailedCallsEndTheCycleAndUnknownOnesDoNot) {
    for (const auto& c : cases(__FILE__, "calls")) {
        first.makeReadable();
        EXPECT_EQ(call({c[0].get<std::string>()}, c[1]), c[2]) << c;
        if (c[1] == -1) turn();
        EXPECT_EQ(calls, Texts{"first data"}) << c;
    }
}

TEST_F(Loop, SignalDuringSelectIsAFailedCycle) {
    std::atomic<bool> stop = false;
    std::thread signals([&stop, target = pthread_self()] {
        for (; !stop; std::this_thread::sleep_for(std::chrono::milliseconds(2))) pthread_kill(target, SIGCHLD);
    });
    int result = 0;
    messages_of([&] { result = turn(), stop = true, signals.join(); });
    EXPECT_EQ(result, -1);
    EXPECT_STREQ(loop.getLastError(), "GtwHandler::run select failed with error 'Interrupted system call'");
}

// select() can watch no others: adding one would write past its set.
TEST_F(Loop, WatchesDescriptorsBelow1024Only) {
    EXPECT_EQ(loop.addGateway(1024, &first), -1);
    first.makeReadable();
    EXPECT_EQ(turn(), 200);
}

TEST_F(Loop, HoldsTwentyGatewaysAndClosesTheGapOfARemovedOne) {
    for (int i = 2; i < 20; ++i) EXPECT_EQ(loop.addGateway(first.fd(), nullptr), 0);
    EXPECT_EQ(loop.addGateway(first.fd(), &first), 30);
    EXPECT_EQ(loop.removeGateway(first.fd()), 0);
    first.makeReadable();  // watched still, by entries without a handler
    second.makeReadable();
    EXPECT_EQ(turn(), 200);
    EXPECT_EQ(calls, Texts{"second data"});
    EXPECT_EQ(loop.addGateway(first.fd(), &first), 0);
    EXPECT_EQ(turn(), 200);
    EXPECT_EQ(calls, Texts{"first data"});
}

}  // namespace
