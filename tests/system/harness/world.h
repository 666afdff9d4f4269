// The world of a test: a fresh home in a real database, the lab's two services, and the program under test, all in the
// test's own sandbox. Ends with a check that the program left in good health.
#pragma once

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

#include "common/database.h"
#include "harness/child.h"
#include "harness/wire.h"

namespace harness {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

// The program, from its status line on.
class Program {
  public:
    // Starts it with "--listen-for-attach-on-port PORT" and `options`; waits until it is up, with an open standard
    // output only.
    Program(int port, const Lines& options, Child::Standard standard = Child::Standard::open);

    Child& child() { return child_; }
    int port() const { return port_; }
    bool tls() const { return tls_; }
    int callPort() const { return callPort_; }

    // One datagram on a connection of its own; what came back, possibly nothing.
    std::string ask(std::string_view datagram) const;
    // The same without TLS, of any size: it is all there before the one read.
    std::string askAtOnce(std::string_view datagram);
    // Bytes to the commands endpoint; what came back.
    std::string call(std::string_view bytes) const;
    // Ends it by SIGTERM; it must leave with status 0.
    void endsWell();
    // Returns when everything that came before is through.
    void settle() const;
    // Whether the console shows a text; waits for it.
    bool logs(const std::string& text) const { return child_.prints(text); }
    // How often it shows it. Everything before this call counts.
    std::size_t timesLogged(const std::string& text) const;

  private:
    Child child_;
    int port_;
    int callPort_ = -1;
    bool tls_;
};

// Waits until the system log has a text.
bool systemLogHas(const std::string& text);

// Checks a datagram that the program sent against its schema.
void expectInOrder(const std::string& datagram);

// Asks `held`, whose thread someone else has just got hold of: it must answer when half a minute is over. Waiting for
// the result waits for the answer.
std::future<void> expectServedAfterHalfAMinute(const Program& held, const std::string& why);

class World : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    void startDatabase();
    void startCore(const Lines& options = {"--no-runners"});
    void stopDatabase() { database_.reset(); }
    void stopCore() { core_.reset(); }
    Child& core() { return *core_; }
    // What goes wrong in a service from now on, one fault per line; empty for nothing.
    static void databaseFaults(const std::string& lines);
    static void coreFaults(const std::string& lines);

    // Runs a statement on the home; its rows, values joined by "|".
    Lines home(const std::string& sql);
    std::string value(const std::string& sql);
    // What each service was asked since the last call: "TYPE statement", "FUNCTION parameter ...", line ends written
    // as \n. Times of day read NOW.
    Lines statements();
    Lines coreRequests();
    // A section of cases.txt, the token filled in for {token}, `other` for {other}.
    Lines expected(const std::string& section, const std::string& other = "") const;
    // The same as rows of cells, which are unescaped.
    std::vector<Lines> table(const std::string& section) const;

    // The runner 40 of the demo home.
    Program& start(const Lines& more = {}, Child::Standard standard = Child::Standard::open);
    Program& startFirstRun(const Lines& more = {});
    Program& program() { return *program_; }
    void stop() { program_->endsWell(); }

    // Waits until the console has a text, or each line of a section.
    void expectLog(const std::string& text) { EXPECT_TRUE(program_->logs(text)) << text; }
    void expectLogs(const std::string& section);
    // Makes the home and the runner as they were before the first attach; the program is not running.
    void forgetNeighbour();

    // Attaches, and enables the neighbour as someone at the web interface would. The journals begin after it.
    void attach(const Attach& attach = {});
    std::string ask(const std::string& datagram) { return program_->ask(datagram); }
    // One request with the neighbour's token.
    std::string send(const std::string& function, const std::string& members = "");
    std::string answer(const std::string& function, int code, const std::string& members = "") const {
        return response(function, code, token, members);
    }

    std::string token;

  private:
    std::unique_ptr<Child> database_;
    std::unique_ptr<Child> core_;
    std::unique_ptr<Program> program_;
    std::size_t statementsSeen_ = 0;
    std::size_t coreRequestsSeen_ = 0;
};

}  // namespace harness
