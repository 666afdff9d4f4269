// The controller's two services inside the test process: real sockets, a real database with the demo home, everything
// recorded, and any answer that the test wants. Their addresses are fixed, so what uses them runs in a sandbox.
//
// Tests of records are steps: what an operation returned, the statements and core requests that it made and what it
// logged are written down, and compared as a whole with the test's section in the text file beside its source.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "common/database.h"
#include "common/requestthread.h"
#include "support/catching.h"

class WithServices : public testing::Test {
  protected:
    WithServices();
    // Compares the steps, and leaves no object cached for the next test.
    void TearDown() override;

    // Performs `operation` and writes it down.
    template <class Operation>
    void step(const std::string& name, const Operation& operation) {
        std::ostringstream result;
        const Texts messages = messages_of([&] { result << operation(); });
        writeDown(name + " -> " + result.str(), messages);
    }
    // Performs what is not worth writing down.
    void prepare(const std::function<void()>& action = [] {});

    // Runs SQL behind the back of the program; the first value of the first row.
    std::string sql(const std::string& statement);
    // Statements that hold `part` are answered with this payload in place of the database's, or with an SQL error.
    void script(const std::string& part, const std::string& payload = "Response: FSMC-001\nNum rows: broken\n") {
        scripts_.emplace_back(part, payload);
    }
    void endScripts() { scripts_.clear(); }
    // The core's next reply, in pieces, or with this status; without one it is status 0.
    void replyNext(const Texts& pieces) { replies_.push_back(pieces); }
    void replyNext(int status);
    // The requests to both services since the last call.
    Texts takeRequests();

  private:
    Texts answer(const std::string& request);
    void reply(int peer, const std::string& request);
    void writeDown(const std::string& title, const Texts& messages);

    // Scripts and replies are set while no request is under way; what the services touch themselves is guarded.
    std::mutex mutex_;
    lab::Database database_;
    std::vector<std::pair<std::string, std::string>> scripts_;
    std::deque<Texts> replies_;
    Texts requests_;
    std::string steps_;
    lab::RequestThread dbManager_;
    lab::RequestThread core_;
};
