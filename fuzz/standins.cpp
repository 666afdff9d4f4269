#include "standins.h"

#include <sys/socket.h>

#include <filesystem>

#include "cbase/cstylecode_sockets.h"
#include "cbase/timedio.h"
#include "common/coremessage.h"
#include "dbmanager/builtinsql.h"
#include "dbmanager/dbprotocol.h"
#include "fuzztarget.h"
#include "libenvcore/core_request.h"
#include "libenvdb/db_request.h"

namespace fuzz {

namespace {

constexpr int backlog = 64;
constexpr int neighbourPort = 45201;

bool is_statement(const std::string& received) {
    lab::DbRequest request;
    return lab::parse_db_request(received, request) != lab::DbParsed::incomplete;
}

bool is_core_request(const std::string& received) {
    lab::CoreRequest request;
    return lab::parse_core_request(received, request) != lab::Parsed::incomplete;
}

int core_listener() {
    const std::filesystem::path path = libenvcore::coreSocketPath;
    std::error_code ignored;
    std::filesystem::create_directories(path.parent_path(), ignored);
    return make_local_socket(path.c_str(), backlog);
}

void say(int peer, const std::string& answer) {
    send(peer, answer.data(), answer.size(), MSG_NOSIGNAL);
}

// Takes the front of a queue; empty when there is none.
std::string take(std::deque<std::string>& queue) {
    if (queue.empty()) return {};
    std::string front = std::move(queue.front());
    queue.pop_front();
    return front;
}

}  // namespace

StandIns::StandIns()
    : ear_(make_internet_socket(neighbourPort, backlog)),
      database_(make_internet_socket(libenvdb::dbManagerPort, backlog), is_statement,
                [this](int peer, const std::string& request) { say(peer, answerDatabase(request)); }),
      core_(core_listener(), is_core_request, [this](int peer, const std::string&) { say(peer, answerCore()); }) {
    require(database_.listens() && core_.listens(),
            "the stand-ins have their addresses to themselves (run this in lab/sandbox)");
    require(timedio::make_nonblocking(ear_.get()), "the neighbour listens");
}

void StandIns::reset() {
    auto home = std::make_unique<lab::Database>(":memory:");
    require(home->run(lab::builtin_schema).ok() && home->run(lab::builtin_home).ok(), "there is a demo home");
    const std::lock_guard lock(mutex_);
    home_ = std::move(home);
    databaseAnswers_.clear();
    coreAnswers_.clear();
}

void StandIns::sql(const std::string& statement) {
    const std::lock_guard lock(mutex_);
    home_->run(statement);
}

void StandIns::dictateDatabase(const std::string& answer) {
    const std::lock_guard lock(mutex_);
    databaseAnswers_.push_back(answer);
}

void StandIns::dictateCore(const std::string& answer) {
    const std::lock_guard lock(mutex_);
    coreAnswers_.push_back(answer);
}

void StandIns::hearNotifications() const {
    for (;;) {
        const Descriptor peer(accept4(ear_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!peer.valid()) return;
    }
}

std::string StandIns::answerDatabase(const std::string& request) {
    const std::lock_guard lock(mutex_);
    if (!databaseAnswers_.empty()) return take(databaseAnswers_);
    lab::DbRequest parsed;
    if (lab::parse_db_request(request, parsed) != lab::DbParsed::complete) return {};
    return lab::compose_db_answer(lab::compose_db_payload(parsed.type, home_->run(parsed.statement)), 0);
}

std::string StandIns::answerCore() {
    const std::lock_guard lock(mutex_);
    if (!coreAnswers_.empty()) return take(coreAnswers_);
    return lab::compose_core_reply(0, false);
}

}  // namespace fuzz
