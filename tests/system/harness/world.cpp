#include "harness/world.h"

#include <sys/socket.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "common/text.h"
#include "schemas.h"

namespace harness {

namespace {

const std::string folder = "/tmp/world/";
const std::string database = folder + "home.db";
const std::string programErrors = folder + "program.errors";

// Appears whole or not at all: a service may look at any time.
void replaceFile(const std::string& path, const std::string& text) {
    std::ofstream(path + ".new") << text;
    std::filesystem::rename(path + ".new", path);
}

Lines journalFrom(const std::string& path, std::size_t& seen) {
    std::string text = lab::file_text(path).substr(seen);
    seen += text.size();
    std::replace(text.begin(), text.end(), '\t', ' ');
    // A time stands as '1700000000' or in 'last_timestamp=1700000000'.
    constexpr std::size_t digits = 10;
    for (std::size_t end = 0; (end = text.find('\'', end)) != std::string::npos; ++end) {
        const std::size_t begin = text.find_last_not_of("0123456789", end == 0 ? 0 : end - 1) + 1;
        if (end - begin == digits) text.replace(begin, digits, "NOW");
    }
    return lab::split(text, '\n');
}

Lines commandLine(int port, const Lines& options) {
    Lines line{"/usr/local/bin/m2mclientmanager", "--listen-for-attach-on-port", std::to_string(port)};
    line.insert(line.end(), options.begin(), options.end());
    return line;
}

}  // namespace

// --- The program ---------------------------------------------------------------------------------------------------

Program::Program(int port, const Lines& options, Child::Standard standard)
    : child_(commandLine(port, options), programErrors, standard),
      port_(port),
      tls_(std::find(options.begin(), options.end(), "--noSSL") == options.end()) {
    if (standard == Child::Standard::closed) return;
    EXPECT_TRUE(child_.prints("\n"));
    const std::string line = child_.output();
    EXPECT_EQ(line.substr(0, 2), "0,");
    callPort_ = std::stoi(line.substr(2));
    settle();
}

std::string Program::ask(std::string_view datagram) const {
    std::string said = exchange(port_, tls_, datagram).answer;
    if (!said.empty()) expectInOrder(said);
    return said;
}

std::string Program::askAtOnce(std::string_view datagram) {
    child_.freeze();
    const auto peer = dial(port_);
    auto sending = std::async(std::launch::async, [&] { sendBytes(peer, datagram); });
    sending.wait_for(200ms);
    child_.thaw();
    settle();  // an answer must wait for a slow peer
    std::string said = readAll(peer);
    sending.wait();
    return said;
}

std::string Program::call(std::string_view bytes) const {
    const auto connection = dial(callPort_);
    sendBytes(connection, bytes);
    shutdown(connection.get(), SHUT_WR);
    return readAll(connection);
}

void Program::settle() const {
    EXPECT_EQ(call("Request: SERVICE_NOTHING\nParameter Count: 0\nWaittime: 5\n\n"), "");
}

void Program::endsWell() {
    child_.signal(SIGTERM);
    EXPECT_EQ(child_.ends(), 0);
}

std::size_t Program::timesLogged(const std::string& text) const {
    static int calls = 0;
    const std::string last = "count " + std::to_string(++calls);
    exchange(port_, tls_, request(last, ""));
    EXPECT_TRUE(logs("M2M function <" + last));
    const std::string output = child_.output();
    std::size_t count = 0;
    for (std::size_t at = 0; (at = output.find(text, at)) != std::string::npos; at += text.size()) ++count;
    return count;
}

bool systemLogHas(const std::string& text) {
    return eventually([&] { return lab::file_text("/tmp/system.log").find(text) != std::string::npos; });
}

void expectInOrder(const std::string& datagram) {
    const schemas::Errors errors = schemas::validate(datagram);
    EXPECT_TRUE(errors.empty()) << errors[0] << "\n" << datagram;
}

std::future<void> expectServedAfterHalfAMinute(const Program& held, const std::string& why) {
    return std::async(std::launch::async, [&held, why, begin = Clock::now()] {
        std::this_thread::sleep_for(3s);
        EXPECT_EQ(held.ask(request("late", "")), response("late", 2, "")) << why;
        EXPECT_GT(Clock::now() - begin, 29s) << why;
        EXPECT_LT(Clock::now() - begin, 45s) << why;
    });
}

// --- The world -----------------------------------------------------------------------------------------------------

void World::SetUp() {
    std::signal(SIGPIPE, SIG_IGN);
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    // What a sanitizer finds ends up in files of its own: the program's descriptor 2 may be gone.
    setenv("ASAN_OPTIONS", ("log_path=" + folder + "sanitizer").c_str(), 1);
    setenv("UBSAN_OPTIONS", ("print_stacktrace=1:log_path=" + folder + "sanitizer").c_str(), 1);
    startDatabase();
    startCore();
}

void World::TearDown() {
    if (program_) stop();
    program_.reset();
    EXPECT_EQ(lab::file_text(programErrors), "") << "on the program's standard error";
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().filename().string().rfind("sanitizer", 0) == 0)
            ADD_FAILURE() << lab::file_text(entry.path().string());
    core_.reset();
    database_.reset();
}

void World::startDatabase() {
    database_ = std::make_unique<Child>(Lines{"dbmanager", "--database", database, "--journal", folder + "db.journal",
                                              "--faults", folder + "db.faults"},
                                        folder + "db.errors");
    ASSERT_TRUE(database_->prints("listening"));
}

void World::startCore(const Lines& options) {
    Lines command{"fsmcore",  "--database",          database, "--journal", folder + "core.journal",
                  "--faults", folder + "core.faults"};
    command.insert(command.end(), options.begin(), options.end());
    core_ = std::make_unique<Child>(command, folder + "core.errors");
    ASSERT_TRUE(core_->prints("listening"));
}

void World::databaseFaults(const std::string& lines) {
    replaceFile(folder + "db.faults", lines);
}

void World::coreFaults(const std::string& lines) {
    replaceFile(folder + "core.faults", lines);
}

Lines World::home(const std::string& sql) {
    lab::Database open(database);
    const lab::QueryResult result = open.run(sql);
    EXPECT_TRUE(result.ok()) << result.error << ": " << sql;
    Lines lines;
    for (const lab::Row& row : result.rows) {
        std::string line;
        for (const std::string& cell : row) line += (&cell == row.data() ? "" : "|") + cell;
        lines.push_back(line);
    }
    return lines;
}

std::string World::value(const std::string& sql) {
    const Lines lines = home(sql);
    return lines.empty() ? "no row" : lines[0];
}

Lines World::statements() {
    return journalFrom(folder + "db.journal", statementsSeen_);
}

Lines World::coreRequests() {
    return journalFrom(folder + "core.journal", coreRequestsSeen_);
}

Lines World::expected(const std::string& section, const std::string& other) const {
    const std::string text = lab::file_text(CASES_FILE);
    const std::string head = "[" + section + "]\n";
    const std::size_t begin = text.find(head);
    EXPECT_NE(begin, std::string::npos) << head;
    std::string lines = text.substr(begin + head.size(), text.find("\n[", begin) - begin - head.size() + 1);
    return lab::split(replaced(replaced(lines, "{token}", token), "{other}", other), '\n');
}

std::vector<Lines> World::table(const std::string& section) const {
    std::vector<Lines> rows;
    for (std::string line : expected(section)) {
        Lines& row = rows.emplace_back();
        for (std::size_t end = 0; end != std::string::npos; line.erase(0, end + 3)) {
            end = line.find(" | ");
            row.push_back(lab::unescaped(line.substr(0, end)));
            if (end == std::string::npos) break;
        }
        EXPECT_EQ(row.size(), rows[0].size()) << row[0];
    }
    return rows;
}

void World::expectLogs(const std::string& section) {
    for (const std::string& line : expected(section)) expectLog(line);
}

Program& World::start(const Lines& more, Child::Standard standard) {
    Lines options{"--id", "40"};
    options.insert(options.end(), more.begin(), more.end());
    constexpr int port = 20200;  // no port that the system gives to others
    program_ = std::make_unique<Program>(port, options, standard);
    return *program_;
}

Program& World::startFirstRun(const Lines& more) {
    Lines options{"--first-run"};
    options.insert(options.end(), more.begin(), more.end());
    return start(options);
}

void World::forgetNeighbour() {
    home(
        "DELETE FROM KOVAD_NEIGHBOUR; DELETE FROM sqlite_sequence WHERE name='KOVAD_NEIGHBOUR'; DELETE FROM "
        "KOVAD_OBJECT WHERE TYPE='CLIENTBROWSER'; UPDATE sqlite_sequence SET seq=100 WHERE name='KOVAD_OBJECT'; UPDATE "
        "KOVAD_OBJECT SET OPTIONALP='NO-VALUE' WHERE ID=40; DELETE FROM KOVAD_OBJECT_RELATION WHERE CHILDOBJ_ID>100");
}

void World::attach(const Attach& attach) {
    const Json said = Json::parse(ask(attach.text()));
    ASSERT_EQ(said["result"], 0);
    token = said["token"];
    home("UPDATE KOVAD_NEIGHBOUR SET ENABLE_FLAG=1");
    statements();
    coreRequests();
}

std::string World::send(const std::string& function, const std::string& members) {
    return ask(request(function, token, members));
}

}  // namespace harness
