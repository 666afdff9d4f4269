// The controller's two services and the neighbour's ear, inside the fuzzing process, for whole sessions: real sockets
// at the fixed addresses (so a session runs in a sandbox), a fresh home for each input, and answers that the input may
// dictate.
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "cbase/descriptor.h"
#include "common/database.h"
#include "common/requestthread.h"

namespace fuzz {

// DBManager over the demo home in memory, and a core that agrees to everything.
class StandIns {
  public:
    StandIns();

    // A new demo home, and nothing dictated.
    void reset();
    // Runs SQL behind the program's back.
    void sql(const std::string& statement);
    // The next answer of DBManager (of the core) is exactly this text. Nothing follows it.
    void dictateDatabase(const std::string& answer);
    void dictateCore(const std::string& answer);
    // Takes the notifications that the program has sent, so that none is left waiting.
    void hearNotifications() const;

  private:
    std::string answerDatabase(const std::string& request);
    std::string answerCore();

    std::mutex mutex_;
    std::unique_ptr<lab::Database> home_;
    std::deque<std::string> databaseAnswers_;
    std::deque<std::string> coreAnswers_;
    Descriptor ear_;
    lab::RequestThread database_;
    lab::RequestThread core_;
};

}  // namespace fuzz
