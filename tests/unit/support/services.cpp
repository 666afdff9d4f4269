#include "support/services.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "cbase/cstylecode_sockets.h"
#include "common/coremessage.h"
#include "dbmanager/builtinsql.h"
#include "dbmanager/dbprotocol.h"
#include "libenvcore/core_request.h"
#include "libenvdb/db_request.h"
#include "model/m2mremotableobject.h"

namespace {

std::string new_home() {
    const std::string path = own_path("home.db");
    std::filesystem::remove(path);
    EXPECT_EQ(lab::create_database(path, {lab::builtin_schema, lab::builtin_home}), "");
    return path;
}

struct Request {
    explicit Request(const std::string& text)
        : isStatement(lab::parse_db_request(text, statement)), isCore(lab::parse_core_request(text, core)) {}
    bool incomplete() const { return isStatement == lab::DbParsed::incomplete || isCore == lab::Parsed::incomplete; }
    // "sql STATEMENT" or "core FUNCTION, parameter, ...".
    std::string words() const {
        if (isStatement == lab::DbParsed::complete) return "sql " + statement.statement;
        std::string text = "core " + core.function;
        for (const std::string& parameter : core.parameters) text += ", " + parameter;
        return text;
    }

    lab::DbRequest statement;
    lab::CoreRequest core;
    lab::DbParsed isStatement;
    lab::Parsed isCore;
};

bool is_complete(const std::string& received) {
    return !Request(received).incomplete();
}

// One line per text, and one text for every time of day.
std::string as_line(const std::string& text) {
    const std::string line = std::regex_replace(text, std::regex("\n"), "\\n");
    return std::regex_replace(line, std::regex("last_timestamp=[0-9]{10}'"), "last_timestamp=NOW'") + "\n";
}

}  // namespace

WithServices::WithServices()
    : database_(new_home()),
      dbManager_(make_internet_socket(libenvdb::dbManagerPort, 64), is_complete,
                 [this](int peer, const std::string& request) { reply(peer, request); }),
      core_((std::filesystem::create_directories("/tmp/kova_variables/sockets"),
             make_local_socket(libenvcore::coreSocketPath, 64)),
            is_complete, [this](int peer, const std::string& request) { reply(peer, request); }) {}

void WithServices::reply(int peer, const std::string& request) {
    if (!request.empty()) send_pieces(peer, answer(request));
}

Texts WithServices::answer(const std::string& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    const Request parsed(request);
    if (parsed.isStatement != lab::DbParsed::complete) {
        if (replies_.empty()) return {"Response Status: FSMC-000\nParameter Count: 0\n\n"};
        const Texts reply = replies_.front();
        replies_.pop_front();
        return reply;
    }
    for (const auto& [part, payload] : scripts_)
        if (request.find(part) != std::string::npos) return {lab::compose_db_answer(payload, 0)};
    const auto& [function, type, statement] = parsed.statement;
    return {lab::compose_db_answer(lab::compose_db_payload(type, database_.run(statement)), 0)};
}

void WithServices::replyNext(int status) {
    replyNext(Texts{"Response Status: FSMC-" + std::to_string(status) + "\nParameter Count: 0\n\n"});
}

std::string WithServices::sql(const std::string& statement) {
    const std::lock_guard lock(mutex_);
    const auto result = database_.run(statement);
    EXPECT_EQ(result.error, "") << statement;
    return result.value();
}

Texts WithServices::takeRequests() {
    const std::lock_guard lock(mutex_);
    return std::exchange(requests_, {});
}

void WithServices::prepare(const std::function<void()>& action) {
    messages_of(action);
    takeRequests();
}

void WithServices::writeDown(const std::string& title, const Texts& messages) {
    steps_ += as_line(title);
    for (const std::string& request : takeRequests()) steps_ += "  " + as_line(Request(request).words());
    for (const std::string& message : messages) steps_ += "  log " + as_line(message);
}

void WithServices::TearDown() {
    M2MRemotableObject::deleteCache();
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::string source = test.file();
    std::ifstream file(source.substr(0, source.rfind("_test.cpp")) + ".txt");
    const std::string all = "\n" + std::string(std::istreambuf_iterator<char>(file), {}) + "\n== ";
    const std::string title = "\n== " + std::string(test.name()) + "\n";
    const std::size_t start = std::min(all.find(title), all.size() - title.size()) + title.size();
    EXPECT_EQ(steps_, all.substr(start, all.find("\n\n== ", start) + 1 - start)) << "beside " << source;
}
